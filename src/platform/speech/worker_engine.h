#pragma once

#include "transcription/speech_engine.h"

#include <filesystem>
#include <string_view>

/// Where a worker program is: in libexec/ beside the executable (the build tree), else in
/// ../libexec/murmelo/ (the installed tree), which is also the answer when it is in neither.
std::filesystem::path workerProgram(const std::filesystem::path& executableFolder, std::string_view name);

/// The codes of this engine's errors, domain "engine".
enum class EngineFailure {
    notInstalled = 1, ///< the worker or its model is missing
    reported = 2,     ///< the worker said why it failed
    crashed = 3,      ///< it ended by a signal or with a status that means failure, without a word
    badOutput = 4,    ///< what it wrote was no answer
    stopped = 5,      ///< a stop was requested
};

/// The built-in recogniser, run as a program of its own for each file: a crash in it never touches a running
/// recording, and its memory goes with it. Any thread; several modules may work at once.
class WorkerEngine final : public SpeechEngine {
  public:
    WorkerEngine(std::filesystem::path worker, std::filesystem::path modelFolder);

    /// English of the United States when worker and model are installed, else nothing.
    std::vector<Locale> supportedLocales() override;
    /// Never throws an Error: what is missing is told by the module's installationRequest.
    std::unique_ptr<SpeechModule> module(const Locale& locale) override;

  private:
    std::filesystem::path m_worker;
    std::filesystem::path m_modelFolder;
};
