#include "models/automatic_download.h"

#include "base/error.h"
#include "models/megabytes.h"

#include <optional>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Step = InstallationProgress::Step;

constexpr auto recordingInterval = 250ms; // at which it is asked whether anything records
constexpr auto meteredInterval = 10s;     // at which it is asked whether the connection is metered

Error meteredError(const Model& model) {
    return {
        "models", static_cast<int>(ModelFailure::metered),
        "The speech model “" + model.id + "” (" + megabytes(model.bytes) +
            ") is not downloaded over a metered connection, unless you want it: “murmelo models install " +
            model.id + "”."};
}

/// True at the first call and then once in each interval.
class Interval {
  public:
    explicit Interval(std::chrono::nanoseconds length) : m_length(length) {}

    bool isOver(std::chrono::nanoseconds now) {
        if (m_last && now - *m_last < m_length) return false;
        m_last = now;
        return true;
    }

  private:
    const std::chrono::nanoseconds m_length;
    std::optional<std::chrono::nanoseconds> m_last;
};

class AutomaticDownload {
  public:
    AutomaticDownload(ModelStore& store, const Model& model, const DownloadConditions& conditions,
                      const ModelStore::ProgressHandler& progress, const std::stop_token& stop)
        : m_store(store), m_model(model), m_conditions(conditions), m_progress(progress), m_stop(stop) {}

    void run() {
        do {
            waitForRecordings();
            if (m_conditions.isMetered()) throw meteredError(m_model);
        } while (!attempt());
    }

  private:
    enum class Obstacle { none, recording, metered };

    void waitForRecordings() {
        if (!m_conditions.isRecording()) return;
        m_progress({Step::paused, m_done, m_model.bytes});
        while (m_conditions.isRecording() && !m_stop.stop_requested())
            m_conditions.sleep(recordingInterval, m_stop);
    }

    /// False: it was interrupted and has to be made again.
    bool attempt() {
        std::stop_source end;
        const std::stop_callback passOn(m_stop, [&end] { end.request_stop(); });
        Obstacle obstacle = Obstacle::none;
        Interval recording(recordingInterval);
        Interval metered(meteredInterval);
        metered.isOver(m_conditions.now()); // it has just been asked
        const auto onProgress = [&](const InstallationProgress& progress) {
            if (progress.step == Step::downloading) m_done = progress.done;
            m_progress(progress);
            if (obstacle != Obstacle::none) return;
            const std::chrono::nanoseconds now = m_conditions.now();
            if (recording.isOver(now) && m_conditions.isRecording())
                obstacle = Obstacle::recording;
            else if (metered.isOver(now) && m_conditions.isMetered())
                obstacle = Obstacle::metered;
            if (obstacle != Obstacle::none) end.request_stop();
        };
        try {
            m_store.install(m_model, onProgress, end.get_token());
            return true;
        } catch (const Error&) {
            if (m_stop.stop_requested() || obstacle == Obstacle::none) throw;
            if (obstacle == Obstacle::metered) throw meteredError(m_model);
            return false;
        }
    }

    ModelStore& m_store;
    const Model& m_model;
    const DownloadConditions& m_conditions;
    const ModelStore::ProgressHandler& m_progress;
    const std::stop_token m_stop;
    std::uint64_t m_done = 0; // bytes that are downloaded
};

} // namespace

void downloadAutomatically(ModelStore& store, const Model& model, const DownloadConditions& conditions,
                           const ModelStore::ProgressHandler& progress, const std::stop_token& stop) {
    AutomaticDownload(store, model, conditions, progress, stop).run();
}
