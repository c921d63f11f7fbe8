#pragma once

#include "transcription/speech_engine.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// A worker program.
struct SpeechWorker {
    std::filesystem::path program;
    std::vector<std::string> arguments; ///< before those about the file
    /// What keeps it from working, as a sentence that says what to install; empty when nothing does.
    std::function<std::string()> missingPart;
};

/// Recognition of one file by one run of the worker, which is handed the open file and learns no path of it.
/// All results arrive inside analyse, each as soon as the worker tells it; finishing has nothing left to do.
/// A recording's microphone track is recognised without what the loudspeakers leaked into it, if the system
/// track lies beside it. One line of the debug log holds the end of the worker's standard error, if there is
/// any and nobody asked for a stop. Throws Error "engine" with a code of EngineFailure, and Error "posix"
/// when the file can't be opened or the worker not started.
class WorkerModule final : public SpeechModule {
  public:
    explicit WorkerModule(SpeechWorker worker);

    std::unique_ptr<InstallationRequest> installationRequest() override;
    void collectResults(ResultHandler handler) override;
    std::optional<double> analyse(const std::filesystem::path& file, std::stop_token stop) override;
    void finalizeAndFinish(double throughSeconds) override;
    void cancelAndFinishNow() noexcept override;
    void waitForResults() override;

  private:
    void requireInstalled() const;

    const SpeechWorker m_worker;
    ResultHandler m_handler;
};
