#include "app/app_state.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "base/quoted_list.h"

#include <exception>
#include <system_error>

namespace {

using namespace std::chrono_literals;

constexpr auto diagnosticDelay = 1s;
constexpr auto diagnosticLength = 8s;
constexpr auto diagnosticRest = 1500ms;

const char* word(bool value) {
    return value ? "true" : "false";
}

/// In bytes; -1 when it cannot be told.
std::int64_t sizeOf(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return error ? -1 : static_cast<std::int64_t>(size);
}

} // namespace

void AppState::runSelfTests() {
    const SelfTests enabled = selfTestsIn(m_services.environment);
    if (enabled.diagnostic)
        m_services.main.asyncAfter(diagnosticDelay, [weak = weak_from_this()] {
            if (const std::shared_ptr<AppState> state = weak.lock()) state->runDiagnostic();
        });
    if (enabled.transcribedFolder) runTranscriptionTest(*enabled.transcribedFolder);
    if (enabled.captureCheck) runCaptureCheck();
}

// --- a recording of eight seconds
// -----------------------------------------------------------------------------

void AppState::runDiagnostic() {
    std::vector<std::string> names;
    for (const MicChoice& mic : mics.get()) names.push_back(mic.name);
    DebugLog::log("[diag] start; micStatus=" + micStatusText() + " mics=" + quotedList(names));
    toggleRecording();
    // From here on the state stays until the process ends.
    m_services.main.asyncAfter(diagnosticLength, [self = shared_from_this()] { self->reportDiagnostic(); });
}

void AppState::reportDiagnostic() {
    DebugLog::log(std::string("[diag] 8s: rec=") + word(isRecording) + " warm=" + word(warmingUp) +
                  " mic=" + shortestDecimal(micLevel.get()) + " out=" + shortestDecimal(outputLevel.get()) +
                  " status=" + status.get());
    if (isRecording) stopRecording();
    m_services.main.asyncAfter(diagnosticRest, [self = shared_from_this()] { self->endDiagnostic(); });
}

void AppState::endDiagnostic() {
    if (isSaving && !m_hasQuit) // the sizes are those of closed files
        return teardownOnQuit([self = shared_from_this()] { self->endDiagnostic(); });
    if (const auto& files = lastRecording.get())
        for (const std::filesystem::path& file : {files->mix, files->voice, files->system})
            DebugLog::log("[diag] " + file.filename().string() + " size=" + std::to_string(sizeOf(file)));
    DebugLog::log("[diag] done");
    m_services.exit(0);
}

// --- the transcript of an existing recording
// ------------------------------------------------------------------

void AppState::runTranscriptionTest(const std::filesystem::path& folder) {
    const auto ended = onMain([](AppState& state, const std::string& result) {
        DebugLog::log("[ts-test] " + result);
        state.m_services.exit(0);
    });
    m_services.jobs.async([transcribeRecording = m_services.transcribeRecording, folder, ended,
                           stop = m_stopTranscriptions.get_token()] {
        try {
            ended("OK " + transcribeRecording(folder, stop).string());
        } catch (const Error& error) {
            ended("FAILED " + error.printed());
        } catch (const std::exception& error) {
            ended(std::string("FAILED ") + error.what());
        }
    });
}

// --- does the tap hear what is played?
// ------------------------------------------------------------------------

void AppState::runCaptureCheck() {
    m_services.jobs.async(
        [works = m_services.systemAudioWorks, &main = m_services.main, exit = m_services.exit] {
            DebugLog::log(std::string("[check] result=") + word(works()));
            main.async([exit] { exit(0); });
        });
}
