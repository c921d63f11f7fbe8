#include "capture/capture_check.h"

#include "base/thread_queue.h"
#include "platform/pipewire/pipewire_tone_player.h"
#include "platform/pipewire/process_tap.h"
#include "support/graph_conditions.h"
#include "support/log_capture.h"
#include "support/private_session.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

namespace {

/// Checks in a session of its own, whose loudspeakers it may mute or take away.
class CaptureCheckDeviceTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(m_connection.connect().server); }

    bool works() {
        ProcessTapFactory systemAudio(m_connection);
        PipeWireTonePlayerFactory tones(m_connection);
        const CaptureCheck check(
            {systemAudio, tones,
             [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); },
             [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }});
        return check.systemAudioWorks();
    }

    std::string idOf(const std::string& name) const {
        return m_connection.graph().read([&](const pipewire::Graph& graph) {
            const auto found = std::find_if(graph.nodes.begin(), graph.nodes.end(),
                                            [&](const pipewire::Node& node) { return node.name == name; });
            return found == graph.nodes.end() ? std::string() : std::to_string(found->id);
        });
    }
    void expectNothingLeftBehind() {
        EXPECT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
            return std::none_of(graph.nodes.begin(), graph.nodes.end(), [](const pipewire::Node& node) {
                return node.name == "murmelo.test-tone" || node.name.starts_with("org.murmelo");
            });
        }));
    }

    LogCapture m_log;
    PrivateSession m_session;
    PipeWireConnection m_connection;
};

TEST_F(CaptureCheckDeviceTest, AWorkingLoudspeakerIsHeardAndNothingIsLeftBehind) {
    EXPECT_TRUE(works());
    EXPECT_EQ(m_log.messages().size(), 1U) << "the tone is in what was heard";
    expectNothingLeftBehind();
}

TEST_F(CaptureCheckDeviceTest, AMutedLoudspeakerIsHeardToo) {
    ASSERT_EQ(RunningProgram({"wpctl", "set-mute", idOf("virtual_loudspeaker"), "1"}).wait(), 0);
    EXPECT_TRUE(works());
}

TEST_F(CaptureCheckDeviceTest, WithoutAnyLoudspeakerNothingIsHeardAndNothingIsLeftBehind) {
    for (const char* name : {"virtual_loudspeaker", "virtual_headphones"})
        ASSERT_EQ(RunningProgram({"pw-cli", "destroy", idOf(name)}).wait(), 0);
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) { return !hasLoudspeaker(graph); }));
    EXPECT_FALSE(works());
    expectNothingLeftBehind();
}

TEST_F(CaptureCheckDeviceTest, WithoutASoundServerNothingIsHeard) {
    m_session.stop();
    EXPECT_FALSE(works());
}

} // namespace
