#pragma once

#include "base/error.h"
#include "base/number_text.h"
#include "support/call_journal.h"
#include "transcription/speech_engine.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

/// Runs inside a call: throws, moves virtual time, waits for the stop.
using ScriptStep = std::function<void(const std::stop_token& stop)>;
using InstallationStep = std::function<void(const WorkLimits& limits)>;

/// A step of either kind.
template <typename Exception>
auto throws(Exception exception) {
    return [exception](const auto&) { throw exception; };
}

/// What one module does. By default it is installed, hears nothing and succeeds.
struct SpeechScript {
    bool installed = true;
    std::vector<SpeechResult> results;           ///< reported by analyse
    std::vector<SpeechResult> finalizingResults; ///< reported by finalizeAndFinish
    std::optional<double> lastSampleTime = 60.0;

    ScriptStep inModule; ///< its stop token, like that of every call without one, never stops
    ScriptStep inInstallationRequest;
    InstallationStep inDownloadAndInstall; ///< a stop that it leaves pending ends it
    ScriptStep inAnalyse; ///< a stop that it leaves pending ends analyse, as the port demands
    ScriptStep inFinalizeAndFinish;
    ScriptStep inWaitForResults;
};

/// A scripted engine: the n-th module follows the n-th script, those beyond the last the default one.
/// Notes every call that reaches it, and each module's end.
class FakeSpeechEngine final : public SpeechEngine {
  public:
    explicit FakeSpeechEngine(CallJournal& journal) : m_journal(journal) {}

    std::vector<Locale> supportedLocales() override {
        if (inSupportedLocales) inSupportedLocales();
        return supported;
    }
    std::unique_ptr<SpeechModule> module(const Locale& locale) override {
        const std::size_t index = m_modules++;
        SpeechScript script = index < scripts.size() ? scripts[index] : SpeechScript{};
        m_journal.note("module " + locale.identifier());
        run(script.inModule);
        return std::make_unique<Module>(m_journal, std::move(script));
    }

    std::vector<Locale> supported{Locale("en_US")};
    std::function<void()> inSupportedLocales;
    std::vector<SpeechScript> scripts;

  private:
    static void run(const ScriptStep& step, const std::stop_token& stop = {}) {
        if (step) step(stop);
    }

    class Request final : public InstallationRequest {
      public:
        Request(CallJournal& journal, InstallationStep inDownloadAndInstall)
            : m_journal(journal), m_inDownloadAndInstall(std::move(inDownloadAndInstall)) {}
        void downloadAndInstall(const WorkLimits& limits) override {
            m_journal.note("downloadAndInstall");
            if (m_inDownloadAndInstall) m_inDownloadAndInstall(limits);
            if (limits.stop.stop_requested()) throw Error("engine", 1, "Download cancelled.");
        }

      private:
        CallJournal& m_journal;
        const InstallationStep m_inDownloadAndInstall;
    };

    class Module final : public SpeechModule {
      public:
        Module(CallJournal& journal, SpeechScript script) : m_journal(journal), m_script(std::move(script)) {}
        ~Module() override { m_journal.note("~module"); }
        Module(const Module&) = delete;
        Module& operator=(const Module&) = delete;

        std::unique_ptr<InstallationRequest> installationRequest() override {
            m_journal.note("installationRequest");
            run(m_script.inInstallationRequest);
            if (m_script.installed) return nullptr;
            return std::make_unique<Request>(m_journal, m_script.inDownloadAndInstall);
        }
        void collectResults(ResultHandler handler) override {
            m_journal.note("collectResults");
            m_handler = std::move(handler);
        }
        std::optional<double> analyse(const std::filesystem::path& file, std::stop_token stop) override {
            m_journal.note("analyse " + file.filename().string());
            for (const SpeechResult& result : m_script.results) m_handler(result);
            run(m_script.inAnalyse, stop);
            if (stop.stop_requested()) throw Error("engine", 1, "Recognition cancelled.");
            return m_script.lastSampleTime;
        }
        void finalizeAndFinish(double throughSeconds) override {
            m_journal.note("finalizeAndFinish " + shortestDecimal(throughSeconds));
            run(m_script.inFinalizeAndFinish);
            for (const SpeechResult& result : m_script.finalizingResults) m_handler(result);
        }
        void cancelAndFinishNow() noexcept override { m_journal.note("cancelAndFinishNow"); }
        void waitForResults() override {
            m_journal.note("waitForResults");
            run(m_script.inWaitForResults);
        }

      private:
        CallJournal& m_journal;
        const SpeechScript m_script;
        ResultHandler m_handler;
    };

    CallJournal& m_journal;
    std::size_t m_modules = 0;
};
