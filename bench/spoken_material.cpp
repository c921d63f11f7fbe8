#include "spoken_material.h"

#include "support/spoken_track.h"
#include "support/synthetic_voice.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace {

constexpr const char* recordings = "/usr/share/pocketsphinx/test/data/";
constexpr const char* book = "librivox/sense_and_sensibility_01_austen_64kb-";
/// Where somebody speaks: how loud the room is, and how far above it speech begins, below its loudest moment.
struct Room {
    float noise; ///< root mean square, full scale 1
    double decibels;
};
constexpr Room quietRoom{0.0003F, 30};
constexpr Room readersRoom{0.003F, 20}; // the pauses are as loud as the recordings' own

struct Recording {
    std::string file;
    std::size_t header; ///< bytes
    const char* said;
};

/// With the book's words as they are read, and as the transcription of the package has them.
const std::array<Recording, 6> recordedByPeople{{
    {std::string(book) + "0870.wav", 44,
     "and mister john dashwood had then leisure to consider how much there might be prudently in his power "
     "to "
     "do for them"},
    {std::string(book) + "0880.wav", 44, "he was not an ill disposed young man"},
    {std::string(book) + "0890.wav", 44,
     "unless to be rather cold hearted and rather selfish is to be ill disposed"},
    {std::string(book) + "0920.wav", 44,
     "had he married a more a amiable woman he might have been made still more respectable than he was"},
    {std::string(book) + "0930.wav", 44, "he might even have been made amiable himself"},
    {"goforward.raw", 0, "go forward ten meters"},
}};

constexpr std::array everyday{
    "Good morning, everybody, and thank you for coming.",
    "Could you please turn up the volume a little?",
    "The train to the city leaves in twenty minutes.",
    "We have to decide today which offer we want to take.",
    "He called me yesterday evening, but I was not at home.",
    "Please write down the address and the telephone number.",
    "The weather should be better at the end of the week.",
    "I have been working on this problem for three days.",
    "Most people in the office start their work at eight.",
    "That is a very good question, and I am not sure about the answer.",
    "My sister bought a new car last month.",
    "Let me show you the next page of the report.",
    "It would be nice to see you again before the summer.",
    "The price of oil has gone up since the beginning of the year.",
    "Would you like a cup of coffee or a glass of water?",
    "They told us that the building was closed for the night.",
    "I will send you the file as soon as we are finished.",
    "The children were playing in the garden behind the house.",
    "There are many ways to learn a new language.",
    "Thank you very much, and have a good day.",
};

std::vector<float> samplesOf(const Recording& recording) {
    const std::string bytes = contentOf(recordings + recording.file);
    if (bytes.size() < 1000)
        throw std::runtime_error(recordings + recording.file + " is missing: install pocketsphinx-testdata");
    std::vector<float> samples((bytes.size() - recording.header) / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::int16_t sample = 0;
        std::memcpy(&sample, bytes.data() + recording.header + 2 * i, 2);
        samples[i] = static_cast<float>(sample) / 32768.0F;
    }
    return samples;
}

/// Appends sentences, each behind a pause of another length.
class Composer {
  public:
    Composer(std::string name, const Room& room) : m_room(room) { m_material.name = std::move(name); }

    void say(const std::vector<float>& speech, const std::string& text) {
        pause(m_pause);
        m_pause = m_pause < 4 ? m_pause * 1.5 : 0.7;
        m_material.onsets.push_back(static_cast<double>(m_material.samples.size()) / 16000 +
                                    onsetOf(speech, m_room.decibels));
        m_material.samples.insert(m_material.samples.end(), speech.begin(), speech.end());
        m_material.said += text + " ";
    }
    SpokenMaterial finished() {
        pause(2);
        return std::move(m_material);
    }

  private:
    void pause(double seconds) {
        const std::vector<float> noise = hiss(seconds, m_room.noise);
        m_material.samples.insert(m_material.samples.end(), noise.begin(), noise.end());
    }

    SpokenMaterial m_material;
    const Room m_room;
    double m_pause = 2;
};

} // namespace

SpokenMaterial recordedSentences() {
    Composer composer("people", readersRoom);
    for (const Recording& recording : recordedByPeople) composer.say(samplesOf(recording), recording.said);
    return composer.finished();
}

SpokenMaterial synthesisedSentences(const std::string& voice) {
    Composer composer(voice, quietRoom);
    for (const char* sentence : everyday) composer.say(spoken(voice, sentence), sentence);
    return composer.finished();
}
