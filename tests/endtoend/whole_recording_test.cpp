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
#include "support/fake_notices.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"
#include "support/test_device.h"
#include "support/test_player.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <thread>

namespace {

using Samples = std::vector<float>;

/// Longer than any silence within the sound, in frames.
constexpr std::ptrdiff_t pause = 4800;

bool audible(float sample) {
    return sample != 0;
}

/// Plays a second of noise, which shows every lost or changed sample, and a sweep, which shows the gain after
/// encoding.
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
        return both;
    }
};

class WholeRecording : public testing::Test {
  protected:
    WholeRecording()
        : m_recorder({m_mics, m_systemAudio, m_files, m_notices,
                      [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); },
                      m_timers, [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }}) {}

    /// Records the sound from its beginning to its end.
    void record(const Sound& sound) {
        ASSERT_TRUE(m_recorder.start({"test_mic", "Test Microphone"}, m_folder.path()));
        const TestPlayer application(m_connection, m_folder.path(), "test_player", {sound.interleaved()});
        EXPECT_TRUE(m_files.of(systemFileName).left.waitUntil([](const Samples& heard) {
            return std::any_of(heard.begin(), heard.end(), audible) &&
                   std::none_of(heard.end() - std::min(std::ssize(heard), pause), heard.end(), audible);
        }));
        // The microphone, which the mix follows, has a clock of its own.
        const std::size_t end = left(systemFileName).size();
        EXPECT_TRUE(m_files.of(mixFileName).left.waitForSamples(std::max<std::size_t>(end, 192000) + 48000));
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
    FakeNotices m_notices;
    ThreadQueue m_timers{"timers"};
    Recorder m_recorder;
};

/// From the first audible sample to the last.
std::span<const float> audiblePart(const Samples& samples) {
    const auto first = std::find_if(samples.begin(), samples.end(), audible);
    const auto last = std::find_if(samples.rbegin(), std::make_reverse_iterator(first), audible);
    return {first, last.base()};
}

/// `heard` is `played` to its end, bit by bit, with at most a moment missing at the beginning: the link to an
/// application comes after its first audio.
void expectExact(std::span<const float> heard, const Samples& played) {
    constexpr std::ptrdiff_t missingAtMost = 4800;
    ASSERT_LE(std::ssize(heard), std::ssize(played));
    ASSERT_GE(std::ssize(heard), std::ssize(played) - missingAtMost);
    const auto difference = std::mismatch(heard.begin(), heard.end(), played.end() - std::ssize(heard));
    EXPECT_EQ(difference.first - heard.begin(), std::ssize(heard)) << "first difference";
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
    const auto heard = audiblePart(system);
    ASSERT_GT(heard.size(), sound.left.size() * 9 / 10);
    expectExact(heard, sound.left);
    expectExact(audiblePart(right(systemFileName)), sound.right);

    // Mix: their sum. Where the tap was late the microphone stands alone.
    const Samples mix = left(mixFileName);
    ASSERT_EQ(mix.size(), voice.size());
    std::size_t mixed = 0;
    for (std::size_t i = 0; i < mix.size(); ++i) {
        const bool more = mixed < heard.size();
        const bool isMixed = more && mix[i] == std::clamp(voice[i] + heard[mixed], -1.0F, 1.0F);
        if (isMixed) ++mixed;
        ASSERT_TRUE(isMixed || mix[i] == voice[i]) << i;
    }
    EXPECT_EQ(mixed, heard.size());

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
    const auto sweep = heard.last(Sound::sweepFrames - 9600).first(Sound::sweepFrames - 2 * 9600);
    const auto decodedSweep =
        std::span(decoded.left).subspan(static_cast<std::size_t>(sweep.data() - system.data()), sweep.size());
    const Alignment alignment = align(sweep, decodedSweep, 100);
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
