#pragma once

#include <string>
#include <vector>

/// Sentences with a known text and known times, in a quiet room.
struct SpokenMaterial {
    std::string name;
    std::vector<float> samples; ///< 16 kHz mono, full scale 1
    std::string said;           ///< all words
    std::vector<double> onsets; ///< of the sentences, seconds
};

/// Five sentences of an audio book and “go forward ten meters”: people, from the package
/// pocketsphinx-testdata.
SpokenMaterial recordedSentences();

/// Twenty everyday sentences by a voice of flite.
SpokenMaterial synthesisedSentences(const std::string& voice);
