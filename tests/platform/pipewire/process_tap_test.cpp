#include "support/graph_conditions.h"
#include "support/own_playback.h"
#include "support/running_program.h"
#include "support/tap_recording.h"
#include "support/temporary_folder.h"
#include "support/test_device.h"
#include "support/test_player.h"
#include "support/test_signal.h"
#include "support/wav_file.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace {

using Samples = BlockCollector::Samples;

/// Frames of an application's first audio that may be missing because its link came later.
constexpr std::size_t missingAtMost = 4800;

/// From the first sample that is not silent to the last one; whole stereo frames.
Samples withoutSilence(std::span<const float> samples) {
    const auto audible = [](float sample) { return sample != 0; };
    const auto first = std::find_if(samples.begin(), samples.end(), audible);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), audible);
    if (first == samples.end()) return {};
    const auto begin = (first - samples.begin()) / 2 * 2;
    const auto end = ((samples.rend() - last) + 1) / 2 * 2;
    return {samples.begin() + begin, samples.begin() + end};
}

class ProcessTapTest : public testing::Test {
  protected:
    static PlayedSound onHeadphones(PlayedSound sound) {
        sound.properties = "{ target.object = test_headphones }";
        return sound;
    }

    static PlayedSound whenTold(PlayedSound sound) {
        sound.waits = true;
        return sound;
    }

    /// Plays once everything is linked, to the end: all of it is heard, and nothing else.
    void expectWhole(const PlayedSound& sound, const Samples& expected, TapRecording& recording,
                     float tolerance = 0) {
        TestPlayer application(m_connection, m_folder.path(), "test_player", whenTold(sound));
        waitForFrame({expected[0], expected[1]}, recording, tolerance);
        const std::size_t before = recording.heard().samples().size();
        application.begin();
        expectEndsWith(expected, heardSince(before, recording), tolerance);
    }

    /// Until it is what is heard now.
    static void waitForFrame(const Samples& frame, TapRecording& recording, float tolerance = 0) {
        EXPECT_TRUE(recording.heard().waitUntil([&](const Samples& all) {
            return all.size() >= 2 && positionOf(frame, std::span(all).last(2), tolerance);
        })) << "the application is not heard, or not on both sides";
    }

    static void expectEndsWith(std::span<const float> expected, std::span<const float> heard,
                               float tolerance = 0) {
        ASSERT_GE(heard.size(), expected.size());
        const auto end = heard.last(expected.size());
        const auto difference = std::mismatch(expected.begin(), expected.end(), end.begin(),
                                              [&](float a, float b) { return std::abs(a - b) <= tolerance; });
        EXPECT_EQ(difference.first - expected.begin(), std::ssize(expected)) << "first difference";
    }

    /// Plays to the end and returns what was heard of it, from its first sound on.
    Samples heardOf(const PlayedSound& sound, TapRecording& recording) {
        const std::size_t before = recording.heard().samples().size();
        const TestPlayer application(m_connection, m_folder.path(), "test_player", sound);
        return heardSince(before, recording);
    }

    /// Waits for sound and for silence after it.
    static Samples heardSince(std::size_t position, TapRecording& recording) {
        const auto since = [position](const Samples& all) { return std::span(all).subspan(position); };
        EXPECT_TRUE(recording.heard().waitUntil([&](const Samples& all) {
            return endsSilent(since(all)) && isAudible(since(all));
        })) << "no application was heard, or it never fell silent";
        return withoutSilence(since(recording.heard().samples()));
    }

    static bool endsSilent(std::span<const float> samples) {
        constexpr std::size_t pause = 9600;
        return samples.size() >= pause &&
               std::all_of(samples.end() - pause, samples.end(), [](float sample) { return sample == 0; });
    }

    static bool isAudible(std::span<const float> samples) {
        return std::any_of(samples.begin(), samples.end(), [](float sample) { return sample != 0; });
    }

    /// `heard` is `played` to its end, bit by bit, with at most a moment missing at the beginning of each
    /// side.
    static void expectExact(const Samples& heard, const Samples& played) {
        ASSERT_LE(heard.size(), played.size());
        const std::size_t missing = played.size() - heard.size();
        for (const std::size_t side : {0U, 1U}) {
            std::size_t i = side;
            while (i < heard.size() && heard[i] == 0) i += 2;
            EXPECT_LE((missing + i) / 2, missingAtMost);
            while (i < heard.size() && heard[i] == played[missing + i]) i += 2;
            EXPECT_GE(i, heard.size()) << "first difference";
        }
    }

    static Samples onBothSides(const Samples& mono) {
        Samples stereo;
        for (const float sample : mono) stereo.insert(stereo.end(), 2, sample);
        return stereo;
    }

    TemporaryFolder m_folder;
    PipeWireConnection m_connection;
    TestLoudspeaker m_loudspeaker{m_connection, "test_loudspeaker", TestLoudspeaker::Rank::isDefault};
    TestLoudspeaker m_headphones{m_connection, "test_headphones", TestLoudspeaker::Rank::isOther};
};

TEST_F(ProcessTapTest, SilenceArrivesWhileNothingPlays) {
    TapRecording recording(m_connection);
    ASSERT_TRUE(recording.heard().waitForSamples(96000));
    EXPECT_FALSE(isAudible(recording.heard().samples()));
    EXPECT_FALSE(recording.heard().cameFromSeveralThreads());
}

TEST_F(ProcessTapTest, DefaultLoudspeakerIsHeardBitByBit) {
    const Samples sound = noise(96000, 2);
    TapRecording recording(m_connection);
    expectWhole({sound}, sound, recording);
}

TEST_F(ProcessTapTest, OtherLoudspeakerIsHeardBitByBit) {
    const Samples sound = noise(48000, 2);
    TapRecording recording(m_connection);
    expectWhole(onHeadphones({sound}), sound, recording);
}

TEST_F(ProcessTapTest, ApplicationThatPlaysAlreadyIsHeardFromTheStartOfTheCapture) {
    const Samples sound = noise(96000, 2);
    const TestPlayer application(m_connection, m_folder.path(), "test_player", {sound});
    TapRecording listener(m_connection);
    ASSERT_TRUE(listener.heard().waitUntil(isAudible));
    TapRecording recording(m_connection);
    const Samples heard = heardSince(0, recording);
    ASSERT_GE(heard.size(), 48000U);
    const auto position = positionOf(std::span(heard).first(64), sound);
    ASSERT_TRUE(position);
    EXPECT_EQ(heard, Samples(sound.begin() + static_cast<std::ptrdiff_t>(*position), sound.end()));
}

TEST_F(ProcessTapTest, OneApplicationAfterTheOtherIsHeard) {
    TapRecording recording(m_connection);
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        const Samples sound = noise(12000, 2, seed);
        expectExact(heardOf({sound}, recording), sound);
    }
}

TEST_F(ProcessTapTest, MonoIsHeardOnBothSidesAtFullLevel) {
    const Samples sound = noise(48000, 1);
    TapRecording recording(m_connection);
    expectWhole({sound, 1}, onBothSides(sound), recording);
}

/// Of front left, front right, centre, low frequencies, rear left, rear right.
Samples stereoOfSurround(const Samples& sound, float lowFrequencyLevel) {
    Samples stereo;
    for (std::size_t i = 0; i < sound.size(); i += 6)
        for (const std::size_t side : {0U, 1U})
            stereo.push_back(sound[i + side] + 0.70710678F * (sound[i + 2] + sound[i + 4 + side]) +
                             lowFrequencyLevel * sound[i + 3]);
    return stereo;
}

TEST_F(ProcessTapTest, SurroundThatTheServerFitsToAStereoLoudspeakerIsHeardAsFitted) {
    const Samples sound = noise(48000, 6);
    TapRecording recording(m_connection);
    // The server adds low frequencies too, 9 dB softer, and sums in an order of its own.
    expectWhole({sound, 6}, stereoOfSurround(sound, 0.35355339F), recording, 1e-6F);
}

TEST_F(ProcessTapTest, SurroundThatKeepsItsChannelsIsMixedDown) {
    const Samples sound = noise(48000, 6);
    TapRecording recording(m_connection);
    expectWhole({sound, 6, 48000, "{ stream.dont-remix = true }"}, stereoOfSurround(sound, 0), recording);
}

TEST_F(ProcessTapTest, OtherSampleRateKeepsLengthAndLevel) {
    Samples sound;
    for (int i = 0; i < 44100; ++i)
        sound.insert(sound.end(), 2, 0.25F * std::sin(2 * std::numbers::pi_v<float> * 440 * i / 44100));
    TapRecording recording(m_connection);
    const Samples heard = heardOf({sound, 2, 44100}, recording);
    EXPECT_NEAR(static_cast<double>(heard.size()) / 2, 48000, missingAtMost);
    ASSERT_GE(heard.size(), 48000U);
    const double energy =
        std::inner_product(heard.begin() + 24000, heard.begin() + 48000, heard.begin() + 24000, 0.0);
    EXPECT_NEAR(std::sqrt(energy / 24000), 0.25 / std::numbers::sqrt2, 0.001);
}

TEST_F(ProcessTapTest, ApplicationsAtOnceAddUpExactly) {
    const Samples first = noise(144000, 2, 1);
    const Samples second = noise(24000, 2, 2);
    TapRecording recording(m_connection);
    TestPlayer one(m_connection, m_folder.path(), "first", whenTold({first}));
    waitForFrame({first[0], first[1]}, recording);
    TestPlayer another(m_connection, m_folder.path(), "second", whenTold(onHeadphones({second})));
    waitForFrame({first[0] + second[0], first[1] + second[1]}, recording);
    const std::size_t before = recording.heard().samples().size();
    one.begin();
    another.begin();

    Samples heard = heardSince(before, recording);
    ASSERT_GE(heard.size(), first.size());
    heard.erase(heard.begin(), heard.end() - std::ssize(first));
    for (std::size_t i = 0; i < heard.size(); ++i) heard[i] -= first[i];
    expectEndsWith(second, withoutSilence(heard));
}

TEST_F(ProcessTapTest, VolumeAndMuteOfTheLoudspeakerDoNotMatter) {
    const Samples sound = noise(48000, 2);
    TapRecording recording(m_connection);
    EXPECT_EQ(RunningProgram({"wpctl", "set-volume", "@DEFAULT_AUDIO_SINK@", "0.1"}).wait(), 0);
    EXPECT_EQ(RunningProgram({"wpctl", "set-mute", "@DEFAULT_AUDIO_SINK@", "1"}).wait(), 0);
    expectWhole({sound}, sound, recording);
    EXPECT_EQ(RunningProgram({"wpctl", "set-volume", "@DEFAULT_AUDIO_SINK@", "1.0"}).wait(), 0);
    EXPECT_EQ(RunningProgram({"wpctl", "set-mute", "@DEFAULT_AUDIO_SINK@", "0"}).wait(), 0);
}

TEST_F(ProcessTapTest, ApplicationOfThePulseInterfaceIsHeardBitByBit) {
    const Samples sound = noise(48000, 2);
    TapRecording recording(m_connection);
    Samples file = sound;
    file.resize(file.size() + 24000); // paplay ends before its last blocks are played
    writeWav(m_folder / "sound.wav", file, 2, 48000);
    RunningProgram application({"paplay", (m_folder / "sound.wav").string()});
    expectExact(heardSince(0, recording), sound);
    EXPECT_EQ(application.wait(), 0);
}

TEST_F(ProcessTapTest, LoopbackIsNotHeardTwice) {
    const Samples sound = noise(48000, 2);
    TapRecording recording(m_connection);
    const RunningProgram loopback({"pw-loopback", "--capture-props",
                                   "{ media.class = Audio/Sink node.name = test_loopback }",
                                   "--playback-props", "{ target.object = test_headphones }"});
    // Ready when what it plays is linked to the headphones by the session manager, which gives it ports.
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        const auto hasPorts = [&](auto&& matches) {
            return std::any_of(graph.nodes.begin(), graph.nodes.end(), [&](const pipewire::Node& node) {
                return matches(node) && std::any_of(graph.ports.begin(), graph.ports.end(),
                                                    [&](const auto& port) { return port.node == node.id; });
            });
        };
        return hasPorts([](const auto& node) { return node.name == "test_loopback"; }) &&
               hasPorts([](const auto& node) { return !node.linkGroup.empty(); });
    }));
    expectWhole({sound, 2, 48000, "{ target.object = test_loopback }"}, sound, recording);
}

TEST_F(ProcessTapTest, OwnOutputIsHeard) {
    const Samples sound = noise(48000, 2);
    TapRecording recording(m_connection);
    {
        const OwnPlayback playback(m_connection, sound);
        ASSERT_TRUE(recording.heard().waitUntil(
            [](const Samples& heard) { return isAudible(heard) && endsSilent(heard); }));
    }
    expectExact(heardSince(0, recording), sound);
}

TEST_F(ProcessTapTest, StoppedTapIsQuietAndCanStartAgain) {
    ThreadQueue queue("test.tap");
    BlockCollector heard;
    const auto source = ProcessTapFactory(m_connection).make();
    ASSERT_EQ(source->createTap(testTap).status, 0);
    ASSERT_EQ(source->createDevice(testTapDevice).status, 0);
    source->registerHandler(queue, [&](AudioBufferList buffers, auto) {
        heard.add({static_cast<const float*>(buffers[0].data), buffers[0].byteSize / sizeof(float)});
    });
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(source->start(), 0);
        ASSERT_TRUE(heard.waitForMore(4096));
        source->stop();
        const std::size_t blocks = heard.blocks();
        queue.sync([] {});
        EXPECT_EQ(heard.blocks(), blocks);
    }
}

TEST_F(ProcessTapTest, StepsOutOfOrderAreRefused) {
    ThreadQueue queue("test.tap");
    const auto source = ProcessTapFactory(m_connection).make();
    EXPECT_LT(source->createDevice(testTapDevice).status, 0);
    EXPECT_LT(source->registerHandler(queue, [](AudioBufferList, auto) {}).status, 0);
    EXPECT_LT(source->start(), 0);
    source->stop();
    source->destroyDevice();
}

} // namespace
