#pragma once

#include "base/thread_queue.h"
#include "platform/pipewire/connection.h"

/// Connects again when the sound server has gone and come back, so that devices are known also while nobody
/// records. On a thread of its own, within a few seconds.
class ServerKeeper {
  public:
    /// The connection outlives it.
    explicit ServerKeeper(PipeWireConnection& connection);

  private:
    void look();

    PipeWireConnection& m_connection;
    ThreadQueue m_queue{"tapdeck.server"};
};
