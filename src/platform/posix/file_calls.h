#pragma once

#include <cstddef>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <time.h>

/// The system calls through which recordings are written and mended, so that each of them can be made to
/// fail. Every function behaves as its namesake of POSIX or Linux does: -1 and errno. Any thread.
class FileCalls {
  public:
    FileCalls() = default;
    virtual ~FileCalls() = default;
    FileCalls(const FileCalls&) = delete;
    FileCalls& operator=(const FileCalls&) = delete;

    virtual int open(const char* path, int flags, mode_t mode);
    virtual int flock(int file, int operation);
    virtual ssize_t pread(int file, void* bytes, std::size_t count, off_t at);
    virtual ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at);
    virtual int fallocate(int file, int mode, off_t at, off_t count);
    virtual int ftruncate(int file, off_t size);
    virtual int fdatasync(int file);
    virtual int fsync(int file);
    virtual int fstat(int file, struct stat* facts);
    virtual int fstatvfs(int file, struct statvfs* facts);
    virtual int futimens(int file, const timespec times[2]);
    virtual int unlink(const char* path);
};

/// The real ones.
FileCalls& systemFileCalls();
