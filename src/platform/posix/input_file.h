#pragma once

#include "platform/posix/file_handle.h"
#include "platform/posix/readable_file.h"

#include <filesystem>

/// A regular file that is only read, whoever writes to it meanwhile. Used by one thread at a time.
class InputFile final : public ReadableFile {
  public:
    explicit InputFile(const std::filesystem::path& path);

    std::uint64_t size() const override;
    bool read(std::span<std::uint8_t> bytes, std::uint64_t at) const override;

  private:
    FileHandle m_handle;
};
