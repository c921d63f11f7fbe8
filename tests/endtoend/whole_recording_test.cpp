// The recorder with the real sound server and real files: what was said and played is what is in them.

#include "base/recording_files.h"
#include "base/thread_queue.h"
#include "capture/recorder.h"
#include "platform/media/aac_file_writer.h"
#include "platform/pipewire/pipewire_mic_source.h"
#include "platform/pipewire/process_tap.h"
#include "support/audio_signals.h"
#include "support/copying_audio_files.h"
#include "support/decoded_audio.h"
#include "support/log_capture.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"
#include "support/test_device.h"
#include "support/wav_file.h"

#include <algorithm>
#include <thread>

namespace {

using Samples = std::vector<float>;

bool audible(float sample) {
    return sample != 0;
}

/// Plays a second of noise, which shows every lost or changed sample, and a sweep, which shows the gain after
/// encoding, with silence after them.
struct Sound {
    static constexpr std::size_t noiseFrames = 48000;
    static constexpr std::size_t sweepFrames = 96000;
    Samples left = make(1);
    Samples right = make(2);

    static Samples make(unsigned seed) {
        Samples samples = noise(noiseFrames, 0.2F, seed);
        const Samples sweep = chirp(sweepFrames, 300, 3000, 48000, 0.3F);
        samples.insert(samples.end(), sweep.begin() + 1, sweep.end()); // a sweep begins with a zero
        return samples;
    }
    Samples interleaved() const {
        Samples both;
        for (std::size_t i = 0; i < left.size(); ++i) both.insert(both.end(), {left[i], right[i]});
        both.resize(both.size() + 2 * 24000); // pw-cat ends before its last blocks are played
        return both;
    }
};

class WholeRecording : public testing::Test {
  protected:
    WholeRecording()
        : m_recorder({m_mics, m_systemAudio, m_files,
                      [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); },
                      m_timers, [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }}) {}

    /// Records the sound from its beginning to its end.
    void record(const Sound& sound) {
        ASSERT_TRUE(m_recorder.start({"test_mic", "Test Microphone"}, m_folder.path()));
        writeWav(m_folder / "sound.wav", sound.interleaved(), 2, 48000);
        RunningProgram player({"pw-cat", "--playback", m_folder / "sound.wav"});
        ASSERT_EQ(player.wait(), 0);
        EXPECT_TRUE(m_files.of(mixFileName).left.waitForMore(48000));
        m_recorder.stop();
    }
    Samples left(const char* file) { return m_files.of(file).left.samples(); }
    Samples right(const char* file) { return m_files.of(file).right.samples(); }

    LogCapture m_log;
    TemporaryFolder m_folder;
    PipeWireConnection m_connection;
    TestLoudspeaker m_loudspeaker{m_connection, "test_loudspeaker", TestLoudspeaker::Rank::isDefault};
    TestMicrophone m_microphone{m_connection, "test_mic"};
    PipeWireMicSourceFactory m_mics{m_connection};
    ProcessTapFactory m_systemAudio{m_connection};
    AacFileWriterFactory m_realFiles;
    CopyingAudioFiles m_files{m_realFiles};
    ThreadQueue m_timers{"timers"};
    Recorder m_recorder;
};

/// Where the sound begins in what was heard of it; a moment may be missing at the beginning, because the link
/// to an application comes after its first audio.
struct Place {
    std::size_t heard;
    std::size_t played;
};
Place placeOf(const Samples& heard, const Samples& played) {
    const auto begin = std::find_if(heard.begin(), heard.end(), audible);
    if (heard.end() - begin < 64) return {0, played.size()};
    const auto found = std::search(played.begin(), played.end(), begin, begin + 64);
    return {static_cast<std::size_t>(begin - heard.begin()),
            static_cast<std::size_t>(found - played.begin())};
}

TEST_F(WholeRecording, FilesHoldWhatWasSaidAndPlayed) {
    const Sound sound;
    record(sound);

    // Voice: the microphone, equal on both channels.
    const Samples voice = left(voiceFileName);
    EXPECT_EQ(right(voiceFileName), voice);
    ASSERT_GT(voice.size(), 4 * 48000U);

    // System: the application, bit by bit.
    const Samples system = left(systemFileName);
    const Place place = placeOf(system, sound.left);
    ASSERT_LT(place.played, 4800U) << "the application's sound is not in the system audio";
    const std::size_t length = sound.left.size() - place.played;
    ASSERT_GE(system.size(), place.heard + length);
    const Samples rightSystem = right(systemFileName);
    for (std::size_t i = 0; i < length; ++i) {
        ASSERT_EQ(system[place.heard + i], sound.left[place.played + i]) << i;
        ASSERT_EQ(rightSystem[place.heard + i], sound.right[place.played + i]) << i;
    }

    // Mix: their sum. Where the tap was late the microphone stands alone.
    const Samples mix = left(mixFileName);
    ASSERT_EQ(mix.size(), voice.size());
    std::size_t mixed = 0;
    for (std::size_t i = 0; i < mix.size(); ++i) {
        const float expected =
            std::clamp(voice[i] + (mixed < length ? system[place.heard + mixed] : 0), -1.0F, 1.0F);
        const bool isMixed = mixed < length && mix[i] == expected;
        if (isMixed) ++mixed;
        ASSERT_TRUE(isMixed || mix[i] == voice[i]) << i;
    }
    EXPECT_EQ(mixed, length);

    // The files: exactly as long, nothing shifted, as loud.
    for (const char* name : {voiceFileName, systemFileName, mixFileName}) {
        const DecodedAudio decoded = decodeAll(m_folder / name);
        EXPECT_EQ(decoded.sampleRate, 48000);
        ASSERT_EQ(decoded.left.size(), left(name).size()) << name;
        ASSERT_EQ(decoded.right.size(), left(name).size()) << name;
        if (name == voiceFileName) {
            EXPECT_EQ(align(decoded.left, decoded.right, 10).offset, 0);
        }
    }
    const DecodedAudio decoded = decodeAll(m_folder / systemFileName);
    const std::size_t sweep = place.heard + Sound::noiseFrames - place.played;
    const Alignment alignment =
        align(std::span(system).subspan(sweep + 4800, Sound::sweepFrames - 9600),
              std::span(decoded.left).subspan(sweep + 4800, Sound::sweepFrames - 9600), 100);
    EXPECT_EQ(alignment.offset, 0);
    EXPECT_NEAR(alignment.gain, 1.0, 0.02);
}

TEST_F(WholeRecording, MicrophoneThatIsUnpluggedBeforeTheStartIsNeverReplaced) {
    m_microphone.unplug();
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, "test_mic") == nullptr;
    }));
    std::string message;
    m_recorder.onError = [&](std::string sentence) { message = std::move(sentence); };
    EXPECT_FALSE(m_recorder.start({"test_mic", "Test Microphone"}, m_folder / "r"));
    EXPECT_EQ(message, "Microphone “Test Microphone” is not available. Is it connected?");
    EXPECT_FALSE(std::filesystem::exists(m_folder / "r"));
}

} // namespace
