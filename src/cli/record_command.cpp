#include "cli/record_command.h"

#include "app/closing.h"
#include "app/quit_patience.h"
#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "base/recording_files.h"
#include "cli/arguments.h"
#include "cli/microphone_option.h"
#include "cli/output.h"
#include "cli/status_line.h"
#include "cli/transcription_job.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <future>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto redraw = 100ms;
constexpr auto lookInterval = 20ms;  // at the files that are being closed
constexpr auto longestLogging = 5ms; // the log may be on the disk that hangs
constexpr double longest = 1e9;      // seconds; what the clock's arithmetic can bear

struct Options {
    std::optional<double> seconds;
    std::optional<std::string> micID;
    std::filesystem::path folder;
    bool transcribe = false;
    bool json = false;
};

std::optional<double> positiveNumber(const std::string& text) {
    double number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
    return number > 0 && number <= longest ? std::optional(number) : std::nullopt;
}

/// Levels as the meters show them: quick to rise, slow to fall.
struct Levels {
    std::atomic<float> mic{0};
    std::atomic<float> system{0};

    void report(float micLevel, float systemLevel) {
        mic = std::max(micLevel, mic * 0.8F);
        system = std::max(systemLevel, system * 0.8F);
    }
};

std::string meter(float level) {
    constexpr int width = 12;
    const int filled = std::isnan(level) ? 0 : static_cast<int>(std::lround(level * width));
    return std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(width - filled), '.');
}

std::string statusText(Clock::duration elapsed, const Levels& levels) {
    return "Recording " + minutesAndSeconds(std::chrono::duration<double>(elapsed).count()) + "  You " +
           meter(levels.mic) + "  Audio " + meter(levels.system) + "  (Ctrl+C stops)";
}

/// Stops the engine and waits for its files. Nothing once they are closed, else what is lost.
std::optional<std::string> close(const std::shared_ptr<CaptureEngine>& engine,
                                 const std::filesystem::path& folder, StatusLine& line,
                                 const RecordingEnd& end) {
    QuitPatience patience(end.now(), engine->unsaved());
    const auto closing = std::make_shared<Closing>(engine);
    end.jobs.async([closing] { closing->run(); });
    while (!closing->hasEnded()) {
        if (!patience.goesOn(end.now(), closing->unsaved())) {
            const std::string loss = lossAtQuit(closing->unsaved(), folder.filename().string(),
                                                "by “murmelo recover " + folder.string() + "”");
            return loss.empty() ? "Murmelo has ended because the sound server did not answer." : loss;
        }
        line.show("Saving…");
        end.sleep(lookInterval);
    }
    return std::nullopt;
}

/// Nothing once the recording is complete, else the status with which the command ends.
std::optional<ExitStatus> record(const std::shared_ptr<CaptureEngine>& engine, const MicChoice& mic,
                                 const Options& options, TerminationSignals& signals, StatusLine& line,
                                 const RecordingEnd& end) {
    std::string fault = "The recording was stopped before it began.";
    engine->onError = [&fault](const std::string& message) { fault = message; };
    Levels levels;
    engine->onLevels = [&levels](float micLevel, float systemLevel) { levels.report(micLevel, systemLevel); };
    const auto fail = [&line](const std::string& sentence) {
        line.show("");
        return reportFailure(sentence);
    };
    const auto closeOrExit = [&]() -> std::optional<ExitStatus> {
        const std::optional<std::string> loss = close(engine, options.folder, line, end);
        if (!loss) return std::nullopt;
        const ExitStatus failed = fail(*loss);
        end.jobs.asyncAndWait([loss] { DebugLog::log("[rec] " + *loss); }, longestLogging, [] {});
        end.exit(failed);
        return failed;
    };

    line.show("Waiting for the microphone");
    auto started = std::async(std::launch::async, [&] { return engine->start(mic, options.folder); });
    bool stopped = false;
    while (!stopped && started.wait_for(0s) != std::future_status::ready) stopped = signals.wait(10ms);
    // A signal in the last moment of the start finds a recording that has begun.
    if (stopped) {
        if (const auto failed = closeOrExit()) return failed;
    }
    if (!started.get()) return fail(fault);
    if (stopped) return std::nullopt;

    const Clock::time_point begin = Clock::now();
    const auto length = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(options.seconds.value_or(longest)));
    for (Clock::duration elapsed{}; elapsed < length; elapsed = Clock::now() - begin) {
        line.show(statusText(elapsed, levels));
        if (signals.wait(std::min<Clock::duration>(redraw, length - elapsed))) break;
    }
    return closeOrExit();
}

std::string resultText(const Recorder::Result& files, const std::optional<std::filesystem::path>& transcript,
                       bool json) {
    if (json) {
        Json::Object object{
            {"voice", files.voice.string()}, {"system", files.system.string()}, {"mix", files.mix.string()}};
        if (transcript) object.emplace_back("transcript", transcript->string());
        return jsonResult(std::move(object));
    }
    return files.voice.string() + "\n" + files.system.string() + "\n" + files.mix.string() + "\n" +
           (transcript ? transcript->string() + "\n" : "");
}

} // namespace

ExitStatus recordCommand(int argc, char** argv, const AudioDevices& devices,
                         const std::shared_ptr<CaptureEngine>& engine, Transcriber& transcriber,
                         TerminationSignals& signals, StatusLine& line, const RecordingEnd& end) {
    const Arguments arguments(argc, argv,
                              {{"seconds", Arguments::Value::required},
                               {"mic", Arguments::Value::required},
                               {"folder", Arguments::Value::required},
                               {"transcribe", Arguments::Value::none},
                               {"json", Arguments::Value::none}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    if (!arguments.operands().empty())
        return reportUsage("“record” does not know what to do with “" + arguments.operands().front() + "”.");
    Options options{
        std::nullopt, arguments.value("mic"), {}, arguments.has("transcribe"), arguments.has("json")};
    if (const auto seconds = arguments.value("seconds")) {
        options.seconds = positiveNumber(*seconds);
        if (!options.seconds) return reportUsage("“--seconds” takes a number above 0.");
    }
    if (arguments.value("folder") == "") return reportUsage("“--folder” takes the name of a folder.");

    const std::optional<MicChoice> mic = chosenMic(devices, options.micID);
    if (!mic) return reportFailure(noMicrophone);
    options.folder = arguments.has("folder")
                         ? std::filesystem::absolute(*arguments.value("folder"))
                         : recordingsFolder() / recordingFolderName(std::chrono::system_clock::now());
    if (const auto failed = record(engine, *mic, options, signals, line, end)) return *failed;
    line.show("");
    const Recorder::Result files = engine->result().value();

    if (!options.transcribe) return printResult(resultText(files, std::nullopt, options.json));
    try {
        const std::filesystem::path transcript =
            transcribeOnTerminal(transcriber, signals, line, options.folder);
        return printResult(resultText(files, transcript, options.json));
    } catch (const Error& error) {
        // The recording is there all the same, and its files are named.
        const ExitStatus printed = printResult(resultText(files, std::nullopt, options.json));
        if (printed != ExitStatus::done) return printed;
        return reportFailure("Transcription failed: " + error.localizedDescription());
    }
}
