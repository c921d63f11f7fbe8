#pragma once

#include "app/capture_engine.h"
#include "capture/aligned_recorder.h"
#include "capture/sleep_guard.h"

#include <functional>
#include <memory>
#include <mutex>

/// The real engine: a recorder on one time line, which tells the user what befalls a recording, makes it safe
/// before the computer sleeps, and marks it as running, so that nothing disturbs it that can wait. A preview
/// does none of that.
class RecorderEngine final : public CaptureEngine {
  public:
    /// The mark of a running recording, which lasts as long as the result exists. Any thread; must not throw
    /// or wait.
    using MakeMark = std::function<std::shared_ptr<void>()>;

    /// What the services and the mark refer to outlives the engine.
    RecorderEngine(RecorderServices services, std::unique_ptr<SleepGuard> sleepGuard, MakeMark makeMark);
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
    void protect(Recorder& recorder);
    void endProtection();

    const RecorderServices m_services;

    mutable std::mutex m_mutex;                  // never held while the recorder starts or stops
    bool m_stopRequested = false;                // guarded by m_mutex
    std::unique_ptr<AlignedRecorder> m_recorder; // guarded by m_mutex; made by start, kept until the end

    const MakeMark m_makeMark;
    std::mutex m_protectionMutex;                   // one thread at a time may start and stop guard and mark
    bool m_protectionEnded = false;                 // guarded by m_protectionMutex
    std::shared_ptr<void> m_mark;                   // guarded by m_protectionMutex
    const std::unique_ptr<SleepGuard> m_sleepGuard; // last: its thread uses the recorder
};
