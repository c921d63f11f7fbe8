#include "support/mic_recording.h"
#include "support/realtime_watch.h"
#include "support/tap_recording.h"

#include <cstdlib>
#include <mutex>
#include <unistd.h>

namespace {

TEST(RealTime, WatchSeesWhatIsForbidden) {
    const RealTimeWatch watch;
    std::mutex mutex;
    RealTimeWatch::enter();
    void* volatile memory = std::malloc(1000); // volatile: else the compiler may leave the pair out
    std::free(memory);
    mutex.lock();
    EXPECT_LT(write(-1, "", 0), 0);
    RealTimeWatch::leave();
    mutex.unlock();
    EXPECT_EQ(watch.forbiddenCalls(), 4U);
    EXPECT_EQ(watch.firstForbidden(), "malloc");
    EXPECT_EQ(watch.callbacks(), 1U);
}

TEST(RealTime, CallbackNeitherAllocatesNorLocksNorCallsTheSystem) {
    PipeWireConnection connection;
    const RealTimeWatch watch;
    MicRecording microphone(connection, "virtual_microphone");
    TapRecording system(connection);
    ASSERT_TRUE(microphone.heard().waitForSamples(96000));
    ASSERT_TRUE(system.heard().waitForSamples(192000));
    microphone.stop();
    system.stop();
    EXPECT_GE(watch.callbacks(), 90U);
    EXPECT_EQ(watch.semaphorePosts(), watch.callbacks()) << "one per callback";
    EXPECT_EQ(watch.forbiddenCalls(), 0U) << watch.firstForbidden();
}

} // namespace
