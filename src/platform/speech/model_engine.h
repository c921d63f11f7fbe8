#pragma once

#include "models/model_downloads.h"
#include "models/model_store.h"
#include "transcription/speech_engine.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

/// The program that recognises speech with the models of a ModelStore, and what keeps it from working: a
/// sentence that says how to install it, or nothing.
struct ModelWorker {
    std::filesystem::path program;
    std::function<std::string()> missingPart;
};

/// Recognition by a downloaded model where one covers the locale and its engine is installed, else by the
/// built-in engine. A model that is missing is downloaded. When that fails, or has not ended when
/// preparations have to end, and the built-in engine knows the language, that one serves and a line of the
/// log tells why; the download itself goes on.
///
/// Any thread; several modules may work at once. Store, downloads and built-in engine must outlive it and its
/// modules.
class ModelEngine final : public SpeechEngine {
  public:
    /// Follows a download for as long as a module waits for it, on that module's thread. Without progress
    /// when the wait has ended, however it ended.
    using DownloadListener = std::function<void(const Model&, const std::optional<InstallationProgress>&)>;

    ModelEngine(ModelStore& models, ModelDownloads& downloads, ModelWorker worker, SpeechEngine& builtIn,
                DownloadListener onDownload);

    /// What installed models recognise and those that may be downloaded, in the order of the catalogue, then
    /// what else the built-in engine recognises. Logs nothing.
    std::vector<Locale> supportedLocales() override;
    /// Never throws an Error: installationRequest chooses the engine.
    std::unique_ptr<SpeechModule> module(const Locale& locale) override;

  private:
    /// None while their engine is missing. Throws Error when they cannot be listed.
    std::vector<ListedModel> usableModels();

    ModelStore& m_models;
    ModelDownloads& m_downloads;
    const ModelWorker m_worker;
    SpeechEngine& m_builtIn;
    const DownloadListener m_onDownload; // may be empty
};
