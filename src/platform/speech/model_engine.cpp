#include "platform/speech/model_engine.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "models/model_choice.h"
#include "platform/speech/worker_engine.h"
#include "platform/speech/worker_module.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {

/// The built-in engine's own locale in which it recognises this one: the same, else another of the language.
std::optional<Locale> builtInLocale(SpeechEngine& builtIn, const Locale& locale) {
    const std::vector<Locale> known = builtIn.supportedLocales();
    const auto matching = [&](const auto& matches) {
        return std::find_if(known.begin(), known.end(), matches);
    };
    auto found = matching([&](const Locale& each) { return each.bcp47() == locale.bcp47(); });
    if (found == known.end())
        found = matching([&](const Locale& each) { return each.languageCode() == locale.languageCode(); });
    return found == known.end() ? std::nullopt : std::optional(*found);
}

/// Chooses an engine, and then is that engine's module.
class ChosenModule final : public SpeechModule {
  public:
    ChosenModule(ModelStore& store, ModelDownloads& downloads, std::vector<ListedModel> models,
                 const ModelWorker& worker, SpeechEngine& builtIn, ModelEngine::DownloadListener onDownload,
                 Locale locale)
        : m_store(store), m_downloads(downloads), m_models(std::move(models)), m_worker(worker),
          m_builtIn(builtIn), m_onDownload(std::move(onDownload)), m_locale(std::move(locale)) {}

    std::unique_ptr<InstallationRequest> installationRequest() override {
        if (const Model* installed = installedModel(m_models, m_locale)) {
            use(*installed);
            return nullptr;
        }
        if (const Model* wanted = modelToInstall(m_models, m_locale))
            return std::make_unique<Request>(*this, *wanted);
        m_chosen = m_builtIn.module(builtInLocale(m_builtIn, m_locale).value_or(m_locale));
        return m_chosen->installationRequest();
    }

    void collectResults(ResultHandler handler) override { m_chosen->collectResults(std::move(handler)); }
    std::optional<double> analyse(const std::filesystem::path& file, std::stop_token stop) override {
        return m_chosen->analyse(file, std::move(stop));
    }
    void finalizeAndFinish(double throughSeconds) override { m_chosen->finalizeAndFinish(throughSeconds); }
    void cancelAndFinishNow() noexcept override { m_chosen->cancelAndFinishNow(); }
    void waitForResults() override { m_chosen->waitForResults(); }

  private:
    class Request final : public InstallationRequest {
      public:
        Request(ChosenModule& module, Model model) : m_module(module), m_model(std::move(model)) {}
        void downloadAndInstall(const WorkLimits& limits) override { m_module.install(m_model, limits); }

      private:
        ChosenModule& m_module;
        const Model m_model;
    };

    void install(const Model& model, const WorkLimits& limits) {
        const std::optional<Locale> fallback = builtInLocale(m_builtIn, m_locale);
        std::stop_source giveUp;
        const auto request = [&giveUp] { giveUp.request_stop(); };
        const std::stop_callback onStop(limits.stop, request);
        const std::stop_callback onEnd(fallback ? limits.endPreparations : std::stop_token(), request);
        try {
            if (download(model, giveUp.get_token())) return use(model);
            throw Error("models", static_cast<int>(ModelFailure::stopped),
                        "The speech model “" + model.id + "” is still being downloaded.");
        } catch (const Error& error) {
            if (limits.stop.stop_requested() || !fallback) throw;
            DebugLog::log("[ts] the built-in recogniser serves " + m_locale.identifier() + ": " +
                          error.localizedDescription());
            m_chosen = m_builtIn.module(*fallback);
        }
    }

    /// False: it goes on.
    bool download(const Model& model, const std::stop_token& giveUp) {
        const auto tell = [&](const std::optional<InstallationProgress>& progress) {
            if (m_onDownload) m_onDownload(model, progress);
        };
        try {
            const bool isInstalled = m_downloads.install(model, tell, giveUp);
            tell(std::nullopt);
            return isInstalled;
        } catch (const Error&) {
            tell(std::nullopt);
            throw;
        }
    }

    void use(const Model& model) {
        std::vector<std::string> arguments{"--model", m_store.folder(model), "--locale",
                                           m_locale.identifier()};
        if (const Model* detector = installedVoiceActivity(m_models)) {
            arguments.emplace_back("--vad");
            arguments.push_back(m_store.folder(*detector) / detector->fileName());
        }
        m_chosen = std::make_unique<WorkerModule>(
            SpeechWorker{m_worker.program, std::move(arguments), m_worker.missingPart});
    }

    ModelStore& m_store;
    ModelDownloads& m_downloads;
    const std::vector<ListedModel> m_models;
    const ModelWorker m_worker;
    SpeechEngine& m_builtIn;
    const ModelEngine::DownloadListener m_onDownload;
    const Locale m_locale;
    std::unique_ptr<SpeechModule> m_chosen; // from installationRequest or the end of its installation on
};

} // namespace

ModelEngine::ModelEngine(ModelStore& models, ModelDownloads& downloads, ModelWorker worker,
                         SpeechEngine& builtIn, DownloadListener onDownload)
    : m_models(models), m_downloads(downloads), m_worker(std::move(worker)), m_builtIn(builtIn),
      m_onDownload(std::move(onDownload)) {}

std::vector<Locale> ModelEngine::supportedLocales() {
    std::vector<Locale> locales;
    try {
        locales = recognisedLocales(usableModels());
    } catch (const Error&) { // logged when a module is made, once for each track
    }
    for (const Locale& locale : m_builtIn.supportedLocales())
        if (std::find(locales.begin(), locales.end(), locale) == locales.end()) locales.push_back(locale);
    return locales;
}

std::unique_ptr<SpeechModule> ModelEngine::module(const Locale& locale) {
    std::vector<ListedModel> models;
    try {
        models = usableModels();
    } catch (const Error& error) {
        DebugLog::log("[ts] no speech models: " + error.localizedDescription());
    }
    return std::make_unique<ChosenModule>(m_models, m_downloads, std::move(models), m_worker, m_builtIn,
                                          m_onDownload, locale);
}

std::vector<ListedModel> ModelEngine::usableModels() {
    if (!m_worker.missingPart().empty()) return {};
    return m_models.list();
}
