#pragma once

#include "app/capture_engine.h"

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

/// The stop of a recording's engine, on a thread of its own because it waits for the disk. Shared by that
/// thread and main.
class Closing {
  public:
    explicit Closing(std::shared_ptr<CaptureEngine> engine) : m_engine(std::move(engine)) {}

    /// The thread: blocks until the files are closed.
    void run() {
        m_engine->stop();
        m_files = m_engine->result();
        m_hasEnded = true;
    }

    // Any thread, at once.
    bool hasEnded() const { return m_hasEnded; }
    Unsaved unsaved() const { return m_engine->unsaved(); }
    /// The recording's files, once it has ended.
    const std::optional<Recorder::Result>& files() const { return m_files; }

  private:
    const std::shared_ptr<CaptureEngine> m_engine;
    std::optional<Recorder::Result> m_files; // written before m_hasEnded
    std::atomic<bool> m_hasEnded = false;
};
