#pragma once

#include "base/serial_queue.h"
#include "capture/unsaved.h"

#include <chrono>
#include <string>

/// How long quitting waits for the files of a recording: as long as less and less remains to be saved, and a
/// minute at most. What is left to a recovery then is named. Pure arithmetic: times are handed in.
class QuitPatience {
  public:
    using Time = TimedQueue::Time;

    static constexpr Time longest = std::chrono::seconds(60);
    static constexpr Time longestStandstill = std::chrono::seconds(5);

    QuitPatience(Time now, const Unsaved& unsaved) : m_begin(now), m_progress(now), m_least(unsaved) {}

    /// What remains now? False: it is time to end.
    bool goesOn(Time now, const Unsaved& unsaved);

  private:
    const Time m_begin;
    Time m_progress; // when the last was seen
    Unsaved m_least; // that has remained so far
};

/// A sentence for the user about that recording, a folder's name; empty when nothing remains to be done.
/// `repair` says how its files are closed: "at the next start".
std::string lossAtQuit(const Unsaved& unsaved, const std::string& recording, const std::string& repair);
