#pragma once

#include "platform/posix/file_handle.h"

#include <cstdint>
#include <filesystem>
#include <span>

/// A file that is read or written from its beginning to its end. One thread. Everything throws Error "models"
/// with ModelFailure::disk when the system refuses.
class LocalFile {
  public:
    /// Must not exist.
    static LocalFile create(const std::filesystem::path& path);
    static LocalFile forReading(const std::filesystem::path& path);
    /// For going on behind what is there; made empty when it is missing.
    static LocalFile forAppending(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return m_path; }
    std::uint64_t size() const;
    /// Goes to the beginning.
    void rewind();
    /// Throws away the content and goes to the beginning.
    void clear();
    /// As many bytes as there are, at most the buffer; 0 at the end.
    std::size_t read(std::span<char> buffer);
    /// All of them.
    void write(std::span<const char> bytes);
    /// Until what was written has reached the disk.
    void sync();
    /// For libraries that read a descriptor.
    int descriptor() const { return m_handle.get(); }

  private:
    LocalFile(std::filesystem::path path, int flags);
    void seek(int whence);

    std::filesystem::path m_path;
    FileHandle m_handle;
};
