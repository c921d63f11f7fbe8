#pragma once

#include "transcription/locale.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// One finished utterance as the recogniser reports it.
struct SpeechResult {
    std::string text; ///< UTF-8, as recognised: may be empty or padded with white space
    double start;     ///< seconds from the beginning of the file; may be not finite when unknown
};

/// When work on a file has to end.
struct WorkLimits {
    std::stop_token stop; ///< now, by throwing
    /// Preparations have to end, so that the rest of the time is left for the recognition itself.
    std::stop_token endPreparations = {};
};

/// What must be downloaded and installed before a module can work.
class InstallationRequest {
  public:
    virtual ~InstallationRequest() = default;
    /// Blocks until the module is ready. When preparations have to end, a module that can work without what
    /// is still missing is ready within a second; any other goes on waiting. Throws Error; ends within a
    /// second of a stop request, by throwing.
    virtual void downloadAndInstall(const WorkLimits& limits) = 0;
};

/// Recognition of one file in one locale. Used by one thread, in this order: installationRequest,
/// collectResults, analyse, then finalizeAndFinish or cancelAndFinishNow, waitForResults. Destruction at any
/// time ends all work and leaves no process behind.
class SpeechModule {
  public:
    using ResultHandler = std::function<void(const SpeechResult&)>;

    virtual ~SpeechModule() = default;
    /// Null when everything is installed. Throws Error.
    virtual std::unique_ptr<InstallationRequest> installationRequest() = 0;
    /// Says where results go. They arrive on the caller's thread, inside the calls below.
    virtual void collectResults(ResultHandler handler) = 0;
    /// Analyses the whole file. Gives the time of the last sample in seconds, or nothing when no audio was
    /// analysed. Blocks; throws Error; ends within 100 ms of a stop request, by throwing.
    virtual std::optional<double> analyse(const std::filesystem::path& file, std::stop_token stop) = 0;
    /// Finishes the results up to that time.
    virtual void finalizeAndFinish(double throughSeconds) = 0;
    /// Drops what is not finished.
    virtual void cancelAndFinishNow() noexcept = 0;
    /// Returns when no result can come any more. Throws Error when the results broke off.
    virtual void waitForResults() = 0;
};

/// Port: an on-device speech recogniser. Any thread.
class SpeechEngine {
  public:
    virtual ~SpeechEngine() = default;
    /// In the engine's order; empty when nothing can be told.
    virtual std::vector<Locale> supportedLocales() = 0;
    /// Throws Error.
    virtual std::unique_ptr<SpeechModule> module(const Locale& locale) = 0;
};
