#pragma once

#include "late_backends.h"
#include "platform/posix/file_handle.h"

#include <filesystem>
#include <mutex>

/// The module with the LateBackends, lib/murmelo/murmelo-late.so.
///
/// It is opened at once, so that an update of the package does not come between a program that runs and its
/// module. Once loaded it stays, as what it brings along cannot be unloaded. Any thread.
class LateModule {
  public:
    explicit LateModule(const std::filesystem::path& executableFolder);

    /// Loads the module, the first time. Throws Error when it is missing, or a library that it needs.
    const LateBackends& backends();

  private:
    const LateBackends& load() const;

    const std::filesystem::path m_path;
    const FileHandle m_file;
    std::mutex m_mutex;
    const LateBackends* m_backends = nullptr;
};
