#include "platform/pipewire/pipewire_devices.h"
#include "support/graph_conditions.h"
#include "support/mic_recording.h"
#include "support/private_session.h"
#include "support/test_device.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <thread>

namespace {

using testing::ElementsAre;
using Direction = AudioDevices::Direction;

class DevicesTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(m_connection.connect().server); }

    AudioDevices::DeviceID deviceNamed(const std::string& uid) const {
        for (const auto id : m_devices.deviceIDs())
            if (m_devices.uid(id) == uid) return id;
        return 0;
    }

    PipeWireConnection m_connection;
    PipeWireDevices m_devices{m_connection};
};

TEST_F(DevicesTest, AfterConnectingEverythingIsThereAtOnce) {
    EXPECT_EQ(m_devices.deviceIDs().size(), 3U);
    EXPECT_THAT(m_devices.microphones(), ElementsAre(MicChoice{"virtual_microphone", "Virtual Microphone"}));
    EXPECT_EQ(m_devices.defaultMicrophoneID(), "virtual_microphone");
}

TEST(DevicesOfAnotherSession, ASessionWithoutAnyDeviceIsKnownToHaveNoneAfterAMoment) {
    PrivateSession session;
    PipeWireConnection connection;
    ASSERT_TRUE(connection.connect().server);
    const PipeWireDevices devices(connection);
    EXPECT_TRUE(devices.areKnown());
    session.killPulse();
    for (const AudioDevices::DeviceID id : devices.deviceIDs())
        ASSERT_EQ(RunningProgram({"pw-cli", "destroy", std::to_string(id)}).wait(), 0);
    ASSERT_TRUE(waitFor(connection, [](const pipewire::Graph& graph) {
        return graph.defaultSource.empty() && graph.defaultSink.empty();
    }));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!devices.areKnown() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(devices.areKnown());
    EXPECT_THAT(devices.microphones(), ElementsAre());
}

TEST_F(DevicesTest, ChannelsCountInTheirDirection) {
    const auto microphone = deviceNamed("virtual_microphone");
    EXPECT_THAT(m_devices.streamChannels(microphone, Direction::input), ElementsAre(1U));
    EXPECT_THAT(m_devices.streamChannels(microphone, Direction::output), ElementsAre());
    const auto loudspeaker = deviceNamed("virtual_loudspeaker");
    EXPECT_THAT(m_devices.streamChannels(loudspeaker, Direction::input), ElementsAre());
    EXPECT_THAT(m_devices.streamChannels(loudspeaker, Direction::output), ElementsAre(2U));
    EXPECT_EQ(m_devices.name(loudspeaker), "Virtual Loudspeaker");
}

TEST_F(DevicesTest, DefaultInputIsTheDefaultMicrophone) {
    EXPECT_NE(m_devices.defaultInputDevice(), 0U);
    EXPECT_EQ(m_devices.defaultInputDevice(), deviceNamed("virtual_microphone"));
}

TEST_F(DevicesTest, NominalRateIsKnownWhileTheDeviceIsInUse) {
    const auto microphone = deviceNamed("virtual_microphone");
    MicRecording recording(m_connection, "virtual_microphone");
    ASSERT_TRUE(recording.heard().waitForSamples(1));
    EXPECT_TRUE(waitFor(m_connection, [&](const pipewire::Graph& graph) {
        return pipewire::findNode(graph, microphone)->rate == 48000;
    }));
    EXPECT_EQ(m_devices.nominalSampleRate(microphone), 48000.0);
    EXPECT_FALSE(m_devices.setNominalSampleRate(microphone, 44100));
}

TEST_F(DevicesTest, UnknownDeviceHasNothing) {
    constexpr AudioDevices::DeviceID unknown = 4000000000;
    EXPECT_EQ(m_devices.uid(unknown), std::nullopt);
    EXPECT_EQ(m_devices.name(unknown), std::nullopt);
    EXPECT_THAT(m_devices.streamChannels(unknown, Direction::input), ElementsAre());
    EXPECT_EQ(m_devices.nominalSampleRate(unknown), 0.0);
}

TEST_F(DevicesTest, PluggedMicrophonesComeLastAndGoAgain) {
    const MicChoice fixed{"virtual_microphone", "Virtual Microphone"};
    {
        const TestMicrophone zebra(m_connection, "test_zebra", {"Zebra"});
        const TestMicrophone ant(m_connection, "test_ant", {"Ant"});
        EXPECT_THAT(m_devices.microphones(),
                    ElementsAre(fixed, MicChoice{"test_zebra", "Zebra"}, MicChoice{"test_ant", "Ant"}));
        EXPECT_THAT(m_devices.streamChannels(deviceNamed("test_ant"), Direction::input), ElementsAre(1U));
    }
    EXPECT_TRUE(waitFor(m_connection, [&](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, "test_zebra") == nullptr &&
               pipewire::findMicrophone(graph, "test_ant") == nullptr;
    }));
    EXPECT_THAT(m_devices.microphones(), ElementsAre(fixed));
}

TEST_F(DevicesTest, MicrophonesOfTheSameNameAreTwo) {
    const TestMicrophone first(m_connection, "test_first", {"Twin"});
    const TestMicrophone second(m_connection, "test_second", {"Twin"});
    EXPECT_EQ(m_devices.microphones().size(), 3U);
}

TEST_F(DevicesTest, RenamedMicrophoneShowsItsNewName) {
    TestMicrophone microphone(m_connection, "test_mic", {"Before", 1, "After"});
    microphone.rename();
    EXPECT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        const pipewire::Node* const node = pipewire::findMicrophone(graph, "test_mic");
        return node != nullptr && node->description == "After";
    }));
    EXPECT_EQ(m_devices.name(deviceNamed("test_mic")), "After");
}

} // namespace
