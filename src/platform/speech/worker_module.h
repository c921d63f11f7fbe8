#pragma once

#include "transcription/speech_engine.h"

#include <filesystem>
#include <string>

/// What the built-in recogniser lacks, as a sentence that names the Debian package which brings it; empty
/// when it is complete.
std::string missingPart(const std::filesystem::path& worker, const std::filesystem::path& modelFolder);

/// Recognition of one file by one run of the worker. All results arrive inside analyse, each as soon as the
/// worker tells it; finishing has nothing left to do. On failure one line of the debug log holds the end of
/// the worker's standard error. Throws Error "engine" with a code of EngineFailure, and Error "posix" when
/// the worker can't be started.
class WorkerModule final : public SpeechModule {
  public:
    WorkerModule(std::filesystem::path worker, std::filesystem::path modelFolder, Locale locale);

    std::unique_ptr<InstallationRequest> installationRequest() override;
    void collectResults(ResultHandler handler) override;
    std::optional<double> analyse(const std::filesystem::path& file, std::stop_token stop) override;
    void finalizeAndFinish(double throughSeconds) override;
    void cancelAndFinishNow() noexcept override;
    void waitForResults() override;

  private:
    void requireInstalled() const;

    std::filesystem::path m_worker;
    std::filesystem::path m_modelFolder;
    Locale m_locale;
    ResultHandler m_handler;
};
