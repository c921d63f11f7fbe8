#pragma once

#include "platform/posix/file_calls.h"
#include "platform/posix/file_handle.h"
#include "platform/posix/readable_file.h"

#include <cstdint>
#include <filesystem>
#include <span>

/// A regular file that is written at chosen places and locked against other programs of ours, from the first
/// moment until it is closed (flock: a lock of the open file, which a killed process loses).
///
/// Interrupted calls are repeated. Throws Error "posix". Used by one thread at a time, but for syncData and
/// sync, which may run beside everything else.
class OutputFile final : public ReadableFile {
  public:
    /// A new file that only its owner may read; what is there already is EEXIST and stays as it is. Where a
    /// file system has no locks the file is not locked.
    static OutputFile create(FileCalls& calls, const std::filesystem::path& path);
    /// A file that is there, readable, and writable when this process may write it. EWOULDBLOCK while it is
    /// locked; a file that cannot be locked is an error.
    static OutputFile open(FileCalls& calls, const std::filesystem::path& path);

    const std::filesystem::path& path() const { return m_path; }

    std::uint64_t size() const override;
    bool read(std::span<std::uint8_t> bytes, std::uint64_t at) const override;
    /// All of the bytes. When it throws, some of them may be there.
    void write(std::span<const std::uint8_t> bytes, std::uint64_t at);
    /// Also gives back what was reserved beyond that size.
    void truncate(std::uint64_t size);
    /// The same after another failure, which is the one to report.
    void tryTruncate(std::uint64_t size) noexcept;

    /// Sees to it that so many bytes from that place on can be written, without changing the size. Throws
    /// when there is no room (see isFull); false where the file system or the hour does not allow to keep it.
    bool reserve(std::uint64_t at, std::uint64_t count);
    /// Whether somebody took the file out of its folder, so that it is gone when it is closed.
    bool isDeleted() const;
    /// What this user may still write to the file system.
    std::uint64_t freeBytes() const;

    /// Until what was written, as far as reading it back needs, has reached the disk.
    void syncData();
    /// Until everything about the file has reached the disk. Nothing where the file system has no such thing.
    void sync();
    /// Until the folder's list of files and the folder's own entry have reached the disk, as far as the file
    /// system can do that.
    void syncFolder();

    struct Times {
        timespec read;
        timespec modified;
    };
    Times times() const;
    /// As far as the file system lets us.
    void restoreTimes(const Times& times) noexcept;

    /// Takes the file out of its folder; it stays open.
    void remove() noexcept;

  private:
    OutputFile(FileCalls& calls, std::filesystem::path path, FileHandle handle);

    struct stat facts() const;

    FileCalls* m_calls; // never null
    std::filesystem::path m_path;
    FileHandle m_handle;
};

/// Whether an errno says that more of a file cannot be stored: full disk, used-up quota, largest file size.
bool isFull(int errorNumber);
