#include "cli/status_command.h"
#include "cli/toggle_command.h"
#include "support/command_run.h"
#include "support/fake_running_instance.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

class RunningInstanceCommands : public testing::Test {
  protected:
    using Command = ExitStatus (*)(int, char**, RunningInstance&);

    CommandRun run(Command command, std::vector<std::string> words) {
        return runCommand(std::move(words),
                          [&](int argc, char** argv) { return command(argc, argv, m_running); });
    }
    CommandRun toggle() { return run(toggleCommand, {"toggle"}); }
    CommandRun status(const std::vector<std::string>& words = {"status"}) {
        return run(statusCommand, words);
    }

    AppStatus& runs() { return m_running.current.emplace(); }

    FakeRunningInstance m_running;
};

TEST_F(RunningInstanceCommands, ToggleIsSilentWhenItIsDone) {
    runs().canToggle = true;
    const CommandRun outcome = toggle();
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_EQ(outcome.output + outcome.errors, "");
    EXPECT_EQ(m_running.toggles, 1);
}

TEST_F(RunningInstanceCommands, ToggleDoesNotPressAButtonThatIsOff) {
    runs();
    EXPECT_EQ(toggle().errors, "Murmelo has no microphone chosen to record.\n");
    runs().isStarting = true;
    EXPECT_EQ(toggle().errors, "Murmelo is starting a recording already.\n");
    runs().isRecording = true;
    EXPECT_EQ(toggle().errors, "Murmelo is still saving the recording.\n");
    EXPECT_EQ(toggle().status, ExitStatus::failed);
    EXPECT_EQ(m_running.toggles, 0);
}

TEST_F(RunningInstanceCommands, WhereNoneRunsBothSaySo) {
    for (const CommandRun& outcome : {toggle(), status(), status({"status", "--json"})}) {
        EXPECT_EQ(outcome.status, ExitStatus::failed);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "Murmelo is not running on this desktop.\n");
    }
}

TEST_F(RunningInstanceCommands, OneThatDoesNotAnswerIsToldApart) {
    m_running.fault.emplace("posix", 1, "Murmelo runs, but it does not answer.");
    for (const CommandRun& outcome : {toggle(), status()}) {
        EXPECT_EQ(outcome.status, ExitStatus::failed);
        EXPECT_EQ(outcome.errors, "Murmelo runs, but it does not answer.\n");
    }
}

TEST_F(RunningInstanceCommands, StatusIsAFewLines) {
    runs();
    EXPECT_EQ(status().output, "Not recording\nMicrophone: none\n");
    AppStatus& recording = runs();
    recording.isRecording = true;
    recording.elapsed = 3725.5;
    recording.microphone = "Headset";
    recording.lastRecording = "/music/recording-1";
    recording.text = "Mixed.";
    EXPECT_EQ(status().output, "Recording: 62:05\nMicrophone: Headset\nLast recording: /music/recording-1\n"
                               "Status: Mixed.\n");
    runs().isStarting = true;
    EXPECT_EQ(status().output, "Starting\nMicrophone: none\n");
}

TEST_F(RunningInstanceCommands, StatusForScriptsHasEveryField) {
    runs();
    const auto idle = nlohmann::json::parse(status({"status", "--json"}).output);
    EXPECT_EQ(idle, nlohmann::json::parse(R"({"recording": false, "starting": false, "seconds": 0.0,
        "microphone": null, "lastRecording": null, "status": ""})"));
    AppStatus& recording = runs();
    recording.isRecording = true;
    recording.elapsed = 1.5;
    recording.microphone = "Headset";
    recording.lastRecording = "/music/a";
    recording.text = "Hm.";
    EXPECT_EQ(nlohmann::json::parse(status({"status", "--json"}).output),
              nlohmann::json::parse(R"({"recording": true, "starting": false, "seconds": 1.5,
        "microphone": "Headset", "lastRecording": "/music/a", "status": "Hm."})"));
}

TEST_F(RunningInstanceCommands, WrongArgumentsAreUsage) {
    runs();
    EXPECT_EQ(run(toggleCommand, {"toggle", "now"}).status, ExitStatus::usage);
    EXPECT_EQ(run(toggleCommand, {"toggle", "--json"}).status, ExitStatus::usage);
    EXPECT_EQ(status({"status", "of", "what"}).status, ExitStatus::usage);
    EXPECT_EQ(m_running.toggles, 0);
}

} // namespace
