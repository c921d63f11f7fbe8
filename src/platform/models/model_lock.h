#pragma once

#include "platform/posix/file_handle.h"

#include <filesystem>
#include <functional>
#include <stop_token>

/// The right to change one model, among all threads and processes. It ends with the object, and with the
/// process. The file itself stays: a lock on a deleted file would be nobody else's.
class ModelLock {
  public:
    /// Waits for its turn; `onWait` is called once when it must. Throws Error "models": stopped within a
    /// second of a stop request, or disk.
    ModelLock(const std::filesystem::path& file, const std::function<void()>& onWait,
              const std::stop_token& stop);

  private:
    FileHandle m_handle;
};
