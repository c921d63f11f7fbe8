#pragma once

#include "base/error.h"
#include "models/automatic_download.h"
#include "models/model_store.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>

/// What there is to tell of an automatic download.
struct DownloadNews {
    enum class Kind {
        progress,
        installed,
        failed,
        ended, ///< without a result: by cancel, or with the program
    };
    Kind kind;
    InstallationProgress progress = {}; ///< of Kind::progress
    std::string reason = {};            ///< of Kind::failed: a sentence
};

/// The automatic downloads of a process (see downloadAutomatically), each on a thread of its own. However
/// many wait for a model, it is downloaded once; and a download goes on when nobody waits for it any more,
/// for the next one who does. Any thread.
class ModelDownloads {
  public:
    /// Runs on the download's thread, and must return soon. A model that turns out to be installed already
    /// brings no news.
    using Observer = std::function<void(const Model&, const DownloadNews&)>;

    /// The store, what the conditions refer to, and the observer's things outlive it. The observer may be
    /// empty.
    ModelDownloads(ModelStore& store, DownloadConditions conditions, Observer observer);
    /// Stops all downloads within a second. What has come of them is kept.
    ~ModelDownloads();
    ModelDownloads(const ModelDownloads&) = delete;
    ModelDownloads& operator=(const ModelDownloads&) = delete;

    /// Waits until the model is installed, whose download begins unless it is under way. Reports on the
    /// caller's thread. False after a request to give up: the download goes on. Throws Error when it fails,
    /// and ModelFailure::stopped once it has been cancelled.
    bool install(const Model& model, const ModelStore::ProgressHandler& progress,
                 const std::stop_token& giveUp);

    /// Ends the model's download. It does not begin again in this process; what has come of it is kept. At
    /// once.
    void cancel(const std::string& id);

  private:
    struct Download {
        explicit Download(Model which) : model(std::move(which)) {}

        const Model model;
        std::optional<InstallationProgress> latest; // this and the following are guarded by m_mutex
        unsigned reports = 0;
        bool hasEnded = false;
        bool isCancelled = false;
        std::optional<Error> failure; // once it has ended
        std::jthread thread;          // last: it uses all of the above
    };

    std::shared_ptr<Download> current(const Model& model);
    void run(Download& download, const std::stop_token& stop);
    void report(Download& download, const InstallationProgress& progress);
    std::optional<Error> attempt(Download& download, const std::stop_token& stop);
    void tellEnd(const Download& download, const std::optional<Error>& failure, bool wasStopped) const;

    ModelStore& m_store;
    const DownloadConditions m_conditions;
    const Observer m_observer;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::map<std::string, std::shared_ptr<Download>> m_downloads; // guarded by m_mutex; by id
};
