#include "platform/pipewire/pipewire_devices.h"
#include "platform/pipewire/server_keeper.h"
#include "support/mic_recording.h"
#include "support/private_session.h"
#include "support/tap_recording.h"

#include <chrono>
#include <optional>

namespace {

using namespace std::chrono_literals;

bool graphIsEmpty(const PipeWireConnection& connection) {
    return connection.graph().read([](const pipewire::Graph& graph) { return graph.nodes.empty(); });
}

// Both without connecting again.
bool waitUntilLost(PipeWireConnection& connection) {
    const pipewire::LoopLock lock(connection.loop());
    return connection.waitUntil([&] { return graphIsEmpty(connection); }, 20s);
}
bool waitUntilKnown(PipeWireConnection& connection) {
    const pipewire::LoopLock lock(connection.loop());
    return connection.waitUntil([&] { return !graphIsEmpty(connection); }, 20s);
}

TEST(ServerLoss, WithoutAServerEverythingSaysSoAtOnce) {
    const TemporaryFolder empty;
    const ScopedEnvironment runtime("PIPEWIRE_RUNTIME_DIR", empty.path().string());
    const auto before = std::chrono::steady_clock::now();
    PipeWireConnection connection;
    EXPECT_EQ(PipeWireMicSourceFactory(connection).open("virtual_microphone"), nullptr);
    const auto tap = ProcessTapFactory(connection).make()->createTap(testTap);
    EXPECT_LT(tap.status, 0);
    EXPECT_EQ(tap.id, 0U);
    const PipeWireDevices devices(connection);
    EXPECT_TRUE(devices.deviceIDs().empty());
    EXPECT_TRUE(devices.microphones().empty());
    EXPECT_EQ(devices.defaultMicrophoneID(), std::nullopt);
    EXPECT_EQ(devices.defaultInputDevice(), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
}

TEST(ServerLoss, KilledServerEndsRecordingsQuietly) {
    PrivateSession session;
    PipeWireConnection connection;
    MicRecording microphone(connection, "virtual_microphone");
    TapRecording system(connection);
    ASSERT_TRUE(microphone.heard().waitForSamples(4096));
    ASSERT_TRUE(system.heard().waitForSamples(4096));
    session.killServer();
    ASSERT_TRUE(waitUntilLost(connection));
    EXPECT_TRUE(PipeWireDevices(connection).microphones().empty());
    EXPECT_FALSE(microphone.source().waitUntilRunning());
    microphone.stop();
    system.stop();
}

TEST(ServerLoss, ServerThatComesBackIsFoundAgain) {
    PrivateSession session;
    PipeWireConnection connection;
    // The old recordings are still held when the new ones begin.
    std::optional<MicRecording> oldMicrophone;
    oldMicrophone.emplace(connection, "virtual_microphone");
    std::optional<TapRecording> oldSystem;
    oldSystem.emplace(connection);
    for (int i = 0; i < 2; ++i) {
        session.stop();
        ASSERT_TRUE(waitUntilLost(connection));
        EXPECT_LT(connection.connect().status, 0);
        session.start();
        std::optional<MicRecording> microphone;
        microphone.emplace(connection, "virtual_microphone");
        TapRecording system(connection);
        EXPECT_TRUE(microphone->heard().waitForSamples(4096));
        EXPECT_TRUE(system.heard().waitForSamples(4096));
        oldSystem.reset();
        oldMicrophone.reset();
        EXPECT_TRUE(microphone->heard().waitForMore(4096));
    }
}

TEST(ServerLoss, DevicesAreKnownAgainAlthoughNobodyRecords) {
    PrivateSession session;
    PipeWireConnection connection;
    const ServerKeeper keeper(connection);
    EXPECT_TRUE(waitUntilKnown(connection));
    session.stop();
    ASSERT_TRUE(waitUntilLost(connection));
    session.start();
    EXPECT_TRUE(waitUntilKnown(connection));
}

} // namespace
