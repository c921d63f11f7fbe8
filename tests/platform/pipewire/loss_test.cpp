// What befalls a recording while it runs: whatever it is, sounds keep their distance in all three tracks.

#include "base/recording_files.h"
#include "support/graph_conditions.h"
#include "support/private_session.h"
#include "support/temporary_folder.h"
#include "support/test_signal.h"
#include "support/time_marks.h"
#include "support/wav_file.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Samples = std::vector<float>;
using Marks = std::vector<TimeMarks::Found>;

constexpr std::int64_t second = 48000;
constexpr auto patience = 60s; // generous: only a hang takes so long

class LossTest : public testing::Test {
  protected:
    void SetUp() override {
        plugInMicrophone();
        m_player.emplace(std::vector<std::string>{MURMELO_CLICKING_PLAYER});
        m_recorder.emplace(
            std::vector<std::string>{MURMELO_RAW_RECORDER, m_folder.path().string(), "test_mic"});
        ASSERT_TRUE(hearClicks(voiceFileName, voiceMarks));
        ASSERT_TRUE(hearClicks(systemFileName, playedMarks));
        m_before = length(voiceFileName);
    }

    void plugInMicrophone(const std::string& rate = "48000", const std::string& partsPerMillion = "0") {
        m_microphone.emplace(std::vector<std::string>{MURMELO_TEST_DEVICE, "clicking-microphone", "test_mic",
                                                      "Test Microphone", "1", "1500", "", rate,
                                                      partsPerMillion});
        ASSERT_TRUE(waitForMicrophone(m_connection, "test_mic"));
    }

    // --- waiting ---

    template <typename Holds>
    static bool waitUntil(Holds&& holds) {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!holds()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(50ms);
        }
        return true;
    }
    /// Five clicks from now on.
    bool hearClicks(const char* file, const TimeMarks& marks) {
        const auto from = static_cast<std::ptrdiff_t>(length(file));
        return waitUntil([&] {
            const Samples all = samples(file);
            return marks.in(std::span(all).subspan(static_cast<std::size_t>(from))).size() >= 5;
        });
    }
    bool waitForNotice(const std::string& sentence) {
        return waitUntil([&] { return notices().find(sentence) != std::string::npos; });
    }
    /// What is recorded from now on is "after".
    void hearAfterwards() {
        // Blocks of before may still be on their way, and a lost tap is corrected in the next pause.
        const std::int64_t now = length(voiceFileName);
        ASSERT_TRUE(waitUntil([&] { return length(voiceFileName) > now + second; }));
        m_after = length(voiceFileName);
        ASSERT_TRUE(hearClicks(voiceFileName, voiceMarks));
        ASSERT_TRUE(hearClicks(systemFileName, playedMarks));
        m_recorder->signal(SIGTERM);
        ASSERT_EQ(m_recorder->wait(), 0);
    }

    // --- what was recorded ---

    Samples samples(const char* name) const {
        std::ifstream file(m_folder / name, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        Samples all(bytes.size() / sizeof(float));
        std::copy_n(bytes.data(), all.size() * sizeof(float), reinterpret_cast<char*>(all.data()));
        return all;
    }
    std::int64_t length(const char* name) const {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(m_folder / name, none);
        return none ? 0 : static_cast<std::int64_t>(bytes / sizeof(float));
    }
    std::string notices() const {
        std::ifstream file(m_folder / "notices");
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// How far clicks are from their places on a clock that begins with the recording, modulo 8 s. The
    /// median: a busy machine may move one.
    static std::int64_t offset(const Marks& marks, std::int64_t from, std::int64_t until) {
        constexpr std::int64_t cycle = 8 * second;
        std::vector<std::int64_t> offsets;
        for (const TimeMarks::Found& mark : marks)
            if (mark.place >= from && mark.place < until)
                offsets.push_back((mark.place - mark.number * second / 2 + 1000 * cycle) % cycle);
        if (offsets.empty()) return -1;
        // Those just below a whole cycle are close to those just above it.
        for (std::int64_t& one : offsets)
            if (one < offsets.front() - cycle / 2)
                one += cycle;
            else if (one > offsets.front() + cycle / 2)
                one -= cycle;
        std::nth_element(offsets.begin(), offsets.begin() + std::ssize(offsets) / 2, offsets.end());
        return (offsets[offsets.size() / 2] + cycle) % cycle;
    }

    void expectClicksInPlace(const char* file, const TimeMarks& marks, std::int64_t tolerance = 480) {
        const Marks found = marks.in(samples(file));
        const std::int64_t before = offset(found, 0, m_before);
        const std::int64_t after = offset(found, m_after, INT64_MAX);
        ASSERT_GE(before, 0) << file;
        ASSERT_GE(after, 0) << file;
        constexpr std::int64_t cycle = 8 * second;
        const std::int64_t moved = (after - before + cycle + cycle / 2) % cycle - cycle / 2;
        EXPECT_LE(std::abs(moved), tolerance) << file << ": 10 ms";
    }
    void expectEverythingInPlace(std::int64_t tolerance = 480) {
        expectClicksInPlace(voiceFileName, voiceMarks, tolerance);
        expectClicksInPlace(systemFileName, playedMarks, tolerance);
        expectClicksInPlace(mixFileName, voiceMarks, tolerance);
        expectClicksInPlace(mixFileName, playedMarks, tolerance);
        EXPECT_EQ(length(mixFileName), length(voiceFileName));
        EXPECT_NEAR(static_cast<double>(length(systemFileName)), static_cast<double>(length(voiceFileName)),
                    12000);
    }
    std::int64_t zeros(const char* file) const {
        const Samples all = samples(file);
        return std::count(all.begin() + second, all.end(), 0.0F);
    }

    TemporaryFolder m_folder;
    PrivateSession m_session;
    PipeWireConnection m_connection;
    std::optional<RunningProgram> m_microphone, m_player, m_recorder, m_manager;
    std::int64_t m_before = 0, m_after = 0; // the voice's length then
};

TEST_F(LossTest, MicrophoneGoesAndComesBack) {
    m_microphone->end(SIGKILL);
    ASSERT_TRUE(waitForNotice("“Test Microphone” is gone: your voice is missing until it is back."));
    plugInMicrophone();
    ASSERT_TRUE(waitForNotice("“Test Microphone” is back."));
    hearAfterwards();
    expectEverythingInPlace();
    EXPECT_EQ(notices().find("System audio"), std::string::npos);
}

TEST_F(LossTest, MicrophoneComesBackWithAnotherRate) {
    m_microphone->end(SIGKILL);
    ASSERT_TRUE(waitForNotice("is gone"));
    plugInMicrophone("44100");
    ASSERT_TRUE(waitForNotice("is back"));
    hearAfterwards();
    expectEverythingInPlace();
}

TEST_F(LossTest, OtherLoudspeakerBecomesTheDefault) {
    ASSERT_EQ(RunningProgram({"pw-metadata", "0", "default.configured.audio.sink",
                              R"({"name":"virtual_headphones"})", "Spa:String:JSON"})
                  .wait(),
              0);
    ASSERT_TRUE(waitFor(m_connection, [](const pipewire::Graph& graph) {
        return graph.defaultSink == "virtual_headphones";
    }));
    hearAfterwards();
    expectEverythingInPlace();
    EXPECT_EQ(zeros(voiceFileName), 0);
    EXPECT_EQ(zeros(mixFileName), 0);
    EXPECT_EQ(notices(), "");
}

TEST_F(LossTest, ApplicationsComeAndGo) {
    Samples quiet = noise(24000, 2);
    for (float& sample : quiet) sample *= 0.1F;
    writeWav(m_folder / "quiet.wav", quiet, 2, 48000);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(RunningProgram({"pw-cat", "--playback", (m_folder / "quiet.wav").string()}).wait(), 0);
    hearAfterwards();
    expectEverythingInPlace();
    EXPECT_EQ(zeros(voiceFileName), 0);
    EXPECT_EQ(notices(), "");
}

TEST_F(LossTest, ServerIsKilledAndStartedAgain) {
    m_session.killServer();
    m_microphone->end(SIGKILL); // as one does that the server itself drives
    ASSERT_TRUE(waitForNotice("“Test Microphone” is gone: your voice is missing until it is back."));
    ASSERT_TRUE(waitForNotice("System audio is gone: what the computer plays is missing until it is back."));
    m_session.stop();
    m_session.start();
    plugInMicrophone();
    m_player.emplace(std::vector<std::string>{MURMELO_CLICKING_PLAYER});
    ASSERT_TRUE(waitForNotice("“Test Microphone” is back."));
    ASSERT_TRUE(waitForNotice("System audio is back."));
    hearAfterwards();
    expectEverythingInPlace();
}

/// Since PipeWire 1.0 a program that is a microphone and a program that records go on together without the
/// server.
TEST_F(LossTest, ServerIsKilledAndTheMicrophoneIsEitherHeardOrToldToBeGone) {
    m_session.killServer();
    ASSERT_TRUE(waitForNotice("System audio is gone: what the computer plays is missing until it is back."));
    const auto from = static_cast<std::ptrdiff_t>(length(voiceFileName));
    EXPECT_TRUE(waitUntil([&] {
        const Samples all = samples(voiceFileName);
        return notices().find("“Test Microphone” is gone") != std::string::npos ||
               voiceMarks.in(std::span(all).subspan(static_cast<std::size_t>(from))).size() >= 5;
    }));
    m_recorder->signal(SIGTERM);
    EXPECT_EQ(m_recorder->wait(), 0);
}

TEST_F(LossTest, SessionManagerIsKilledAndStartedAgain) {
    m_session.killManager();
    ASSERT_TRUE(waitForNotice("“Test Microphone” is gone: your voice is missing until it is back."));
    m_manager.emplace(m_session.manager());
    ASSERT_TRUE(waitForNotice("“Test Microphone” is back."));
    ASSERT_TRUE(waitForNotice("System audio is back."));
    hearAfterwards();
    expectEverythingInPlace();
}

TEST_F(LossTest, ProgramIsStoppedForThreeSeconds) {
    m_recorder->signal(SIGSTOP);
    std::this_thread::sleep_for(3s); // what it is about
    m_recorder->signal(SIGCONT);
    hearAfterwards();
    expectEverythingInPlace();
    EXPECT_EQ(notices(), "");
}

class FastMicrophone : public LossTest {
  protected:
    void SetUp() override {}
};

TEST_F(FastMicrophone, KeepsSoundsTogether) {
    plugInMicrophone("48000", "200");
    m_player.emplace(std::vector<std::string>{MURMELO_CLICKING_PLAYER});
    m_recorder.emplace(std::vector<std::string>{MURMELO_RAW_RECORDER, m_folder.path().string(), "test_mic"});
    ASSERT_TRUE(hearClicks(voiceFileName, voiceMarks));
    ASSERT_TRUE(hearClicks(systemFileName, playedMarks));
    m_before = length(voiceFileName);
    ASSERT_TRUE(waitUntil([&] { return length(voiceFileName) > 20 * second; }));
    hearAfterwards();
    expectEverythingInPlace();
    EXPECT_EQ(zeros(voiceFileName), 0);
    EXPECT_EQ(notices(), "");
}

} // namespace
