#include "support/mic_recording.h"
#include "support/tap_recording.h"
#include "support/temporary_folder.h"
#include "support/test_device.h"
#include "support/test_signal.h"
#include "support/wav_file.h"

#include <algorithm>

namespace {

using Samples = BlockCollector::Samples;

constexpr std::size_t compared = 64; // samples that are enough to find a place in noise

Samples fromFirstSound(const Samples& samples) {
    return {std::find_if(samples.begin(), samples.end(), [](float sample) { return sample != 0; }),
            samples.end()};
}

/// Into the virtual microphone; returns at the end.
int speak(const std::filesystem::path& file) {
    return RunningProgram({MURMELO_PRIVATE_SESSION, "speak", file.string()}).wait();
}

class MicSourceTest : public testing::Test {
  protected:
    PipeWireConnection m_connection;
};

TEST_F(MicSourceTest, MicrophoneArrivesBitByBitWithoutGaps) {
    const TestMicrophone microphone(m_connection, "test_mic");
    MicRecording recording(m_connection, "test_mic");
    ASSERT_TRUE(recording.heard().waitForSamples(144000));
    recording.stop();
    const Samples heard = fromFirstSound(recording.heard().samples());
    ASSERT_GE(heard.size(), 130000U);
    const Samples given = noise(480000, 1);
    const auto position = positionOf(std::span(heard).first(compared), given);
    ASSERT_TRUE(position);
    const auto difference =
        std::mismatch(heard.begin(), heard.end(), given.begin() + static_cast<std::ptrdiff_t>(*position));
    EXPECT_EQ(difference.first - heard.begin(), static_cast<std::ptrdiff_t>(heard.size()))
        << "first difference";
    EXPECT_FALSE(recording.heard().cameFromSeveralThreads());
}

TEST_F(MicSourceTest, StereoMicrophoneIsNoLouderThanAMonoOne) {
    const TestMicrophone microphone(m_connection, "test_mic", {"Stereo", 2});
    MicRecording recording(m_connection, "test_mic");
    ASSERT_TRUE(recording.heard().waitForSamples(24000));
    const Samples heard = fromFirstSound(recording.heard().samples());
    ASSERT_GE(heard.size(), 12000U);
    const Samples given = noise(480000, 1);
    EXPECT_TRUE(positionOf(std::span(heard).first(12000), given, 1e-6F));
}

TEST_F(MicSourceTest, VoiceInTheVirtualMicrophoneArrivesFromItsBeginningToItsEnd) {
    const TemporaryFolder folder;
    const Samples voice = noise(48000, 1, 5);
    Samples file = voice;
    file.resize(file.size() + 12000); // pw-cat ends before its last two blocks are played
    writeWav(folder / "voice.wav", file, 1, 48000);
    TapRecording system(m_connection);
    MicRecording recording(m_connection, "virtual_microphone");
    EXPECT_EQ(speak(folder / "voice.wav"), 0);
    const auto wholeVoice = [&](const Samples& heard) {
        return positionOf(std::span(voice).last(compared), heard).has_value();
    };
    ASSERT_TRUE(recording.heard().waitUntil(wholeVoice));
    EXPECT_TRUE(positionOf(std::span(voice).first(compared), recording.heard().samples()));
    EXPECT_TRUE(fromFirstSound(system.heard().samples()).empty()) << "the voice is no application's sound";
}

TEST_F(MicSourceTest, NothingIsOpenedForAnUnknownMicrophone) {
    PipeWireMicSourceFactory factory(m_connection);
    EXPECT_EQ(factory.open("no_such_microphone"), nullptr);
    EXPECT_EQ(factory.open(""), nullptr);
    EXPECT_EQ(factory.open("virtual_micro"), nullptr);
    EXPECT_EQ(factory.open("virtual_loudspeaker"), nullptr);
}

TEST_F(MicSourceTest, NoOtherMicrophoneTakesThePlaceOfAnUnpluggedOne) {
    const TemporaryFolder folder;
    writeWav(folder / "voice.wav", noise(48000, 1, 5), 1, 48000);
    TestMicrophone microphone(m_connection, "test_mic");
    MicRecording recording(m_connection, "test_mic");
    ASSERT_TRUE(recording.heard().waitForSamples(4096));
    microphone.unplug();
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, "test_mic") == nullptr;
    }));
    recording.queue().sync([] {});
    const std::size_t before = recording.heard().samples().size();
    // Somebody speaks into the other microphone for a second.
    EXPECT_EQ(speak(folder / "voice.wav"), 0);
    EXPECT_EQ(recording.heard().samples().size(), before);
    EXPECT_FALSE(recording.source().waitUntilRunning());
}

TEST_F(MicSourceTest, UnpluggedBetweenOpeningAndStartingGivesNothing) {
    TestMicrophone microphone(m_connection, "test_mic");
    ThreadQueue queue("test.mic");
    BlockCollector heard;
    const auto source = PipeWireMicSourceFactory(m_connection).open("test_mic");
    ASSERT_TRUE(source);
    source->attach(queue, [&](const MicBuffer& buffer) {
        heard.add({buffer.samples, buffer.byteCount / sizeof(float)});
    });
    microphone.unplug();
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, "test_mic") == nullptr;
    }));
    source->start();
    EXPECT_FALSE(source->waitUntilRunning());
    source->stop();
    EXPECT_EQ(heard.blocks(), 0U);
}

TEST_F(MicSourceTest, StoppedMicrophoneIsQuietAndCanStartAgain) {
    const TestMicrophone microphone(m_connection, "test_mic");
    MicRecording recording(m_connection, "test_mic");
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(recording.heard().waitForMore(4096));
        recording.source().stop();
        recording.source().stop();
        const std::size_t blocks = recording.heard().blocks();
        recording.queue().sync([] {});
        EXPECT_EQ(recording.heard().blocks(), blocks);
        recording.source().start();
        EXPECT_TRUE(recording.source().waitUntilRunning());
    }
}

TEST_F(MicSourceTest, TwoRecordingsOfOneMicrophoneHearTheSame) {
    const TestMicrophone microphone(m_connection, "test_mic");
    MicRecording first(m_connection, "test_mic");
    MicRecording second(m_connection, "test_mic");
    ASSERT_TRUE(second.heard().waitForSamples(24000));
    const Samples part = fromFirstSound(second.heard().samples());
    ASSERT_GE(part.size(), 12000U);
    const auto isHeardByFirst = [&](const Samples& heard) {
        return positionOf(std::span(part).first(12000), heard).has_value();
    };
    EXPECT_TRUE(first.heard().waitUntil(isHeardByFirst));
}

} // namespace
