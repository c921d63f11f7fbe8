#pragma once

#include "speech_worker/recogniser.h"

#include <span>

/// Whether what a recogniser took for words was spoken, as far as its own search can tell. A search finds the
/// words that are nearest to any sound; but over music, machines and animals other words are about as near,
/// they are longer or shorter than people's, there are fillers among them, and they fit badly although the
/// sound is clear.
///
/// `words` are those of a whole cut in their order, fillers too; `voicedShare` is SpeechEvidence's. True when
/// the recogniser gives no scores, false without a word.
bool looksSpoken(std::span<const RecognisedWord> words, double voicedShare);
