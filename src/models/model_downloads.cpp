#include "models/model_downloads.h"

#include <exception>

namespace {

Error cancelledError(const std::string& id) {
    return {"models", static_cast<int>(ModelFailure::stopped),
            "The download of the speech model “" + id + "” was cancelled."};
}

} // namespace

ModelDownloads::ModelDownloads(ModelStore& store, DownloadConditions conditions, Observer observer)
    : m_store(store), m_conditions(std::move(conditions)), m_observer(std::move(observer)) {}

ModelDownloads::~ModelDownloads() {
    // All at once, then one after the other: each may take a second.
    for (const auto& [id, download] : m_downloads) download->thread.request_stop();
    for (const auto& [id, download] : m_downloads) download->thread = {};
}

bool ModelDownloads::install(const Model& model, const ModelStore::ProgressHandler& progress,
                             const std::stop_token& giveUp) {
    std::unique_lock lock(m_mutex);
    const std::shared_ptr<Download> download = current(model);
    for (unsigned seen = 0;;) {
        m_changed.wait(lock, giveUp, [&] { return download->hasEnded || download->reports != seen; });
        if (!download->hasEnded && giveUp.stop_requested()) return false;
        if (download->reports == seen) break; // it has ended, and its last report has been passed on
        seen = download->reports;
        const InstallationProgress latest = *download->latest;
        lock.unlock();
        progress(latest);
        lock.lock();
    }
    if (download->failure) throw download->isCancelled ? cancelledError(model.id) : *download->failure;
    return true;
}

void ModelDownloads::cancel(const std::string& id) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_downloads.find(id);
    if (found == m_downloads.end() || found->second->hasEnded) return;
    found->second->isCancelled = true;
    found->second->thread.request_stop();
}

/// The download that is under way, else a new one. With m_mutex held.
std::shared_ptr<ModelDownloads::Download> ModelDownloads::current(const Model& model) {
    std::shared_ptr<Download>& latest = m_downloads[model.id];
    if (latest && latest->isCancelled && latest->hasEnded) throw cancelledError(model.id);
    if (!latest || latest->hasEnded) {
        const auto begun = std::make_shared<Download>(model);
        begun->thread =
            std::jthread([this, begun = begun.get()](const std::stop_token& stop) { run(*begun, stop); });
        latest = begun; // the thread of the one before needs m_mutex no more
    }
    return latest;
}

void ModelDownloads::run(Download& download, const std::stop_token& stop) {
    std::optional<Error> failure = attempt(download, stop);
    tellEnd(download, failure, stop.stop_requested());
    const std::lock_guard lock(m_mutex);
    download.failure = std::move(failure);
    download.hasEnded = true;
    m_changed.notify_all();
}

std::optional<Error> ModelDownloads::attempt(Download& download, const std::stop_token& stop) {
    try {
        downloadAutomatically(
            m_store, download.model, m_conditions,
            [&](const InstallationProgress& progress) { report(download, progress); }, stop);
        return std::nullopt;
    } catch (const Error& error) {
        return error;
    } catch (const std::exception& other) { // out of memory, say
        return Error("engine", 1, other.what());
    }
}

void ModelDownloads::report(Download& download, const InstallationProgress& progress) {
    {
        const std::lock_guard lock(m_mutex);
        download.latest = progress;
        ++download.reports;
        m_changed.notify_all();
    }
    if (m_observer) m_observer(download.model, {DownloadNews::Kind::progress, progress, {}});
}

void ModelDownloads::tellEnd(const Download& download, const std::optional<Error>& failure,
                             bool wasStopped) const {
    using Kind = DownloadNews::Kind;
    if (!m_observer) return;
    // No lock: this thread alone changes the number of reports.
    if (!failure && download.reports > 0) m_observer(download.model, {Kind::installed, {}, {}});
    if (!failure) return;
    m_observer(download.model, wasStopped ? DownloadNews{Kind::ended, {}, {}}
                                          : DownloadNews{Kind::failed, {}, failure->localizedDescription()});
}
