#pragma once

#include "app/capture_engine.h"
#include "capture/aligned_recorder.h"
#include "capture/sleep_guard.h"

#include <memory>
#include <mutex>

/// The real engine: a recorder on one time line, which tells the user what befalls a recording and makes it
/// safe before the computer sleeps. A preview does neither.
class RecorderEngine final : public CaptureEngine {
  public:
    /// What the services refer to outlives the engine.
    RecorderEngine(RecorderServices services, std::unique_ptr<SleepGuard> sleepGuard);
    /// Releases what a stop has not released, and waits for a source that is just being opened again, for up
    /// to 5 s. Not while start or stop runs.
    ~RecorderEngine() override;
    RecorderEngine(const RecorderEngine&) = delete;
    RecorderEngine& operator=(const RecorderEngine&) = delete;

    bool start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) override;
    void stop() override;
    std::optional<Recorder::Result> result() const override;
    Unsaved unsaved() const override;

  private:
    Recorder* prepare(const MicChoice& mic, bool isPreview);
    Recorder* recorder() const;
    void guardAgainstSleep(Recorder& recorder);
    void endGuard();

    const RecorderServices m_services;

    mutable std::mutex m_mutex;                  // never held while the recorder starts or stops
    bool m_stopRequested = false;                // guarded by m_mutex
    std::unique_ptr<AlignedRecorder> m_recorder; // guarded by m_mutex; made by start, kept until the end

    std::mutex m_guardMutex;                        // one thread at a time may start and stop the guard
    bool m_guardEnded = false;                      // guarded by m_guardMutex
    const std::unique_ptr<SleepGuard> m_sleepGuard; // last: its thread uses the recorder
};
