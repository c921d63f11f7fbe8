#pragma once

#include "platform/posix/file_calls.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string>

/// The real calls, of which some fail. Any thread.
class FailingCalls : public FileCalls {
  public:
    /// The call of that name fails with that errno when it has succeeded so many times: once, or from then
    /// on.
    void fail(const std::string& call, int after, int error, bool forEver) {
        const std::lock_guard lock(m_mutex);
        m_call = call;
        m_left = after;
        m_error = error;
        m_forEver = forEver;
    }
    bool hasFailed() const { return m_failed; }
    /// Writes of fragments that succeeded before the first failure.
    int fragments() const { return m_fragments; }

    int open(const char* path, int flags, mode_t mode) override {
        return fails("open") ? -1 : FileCalls::open(path, flags, mode);
    }
    int flock(int file, int operation) override {
        return fails("flock") ? -1 : FileCalls::flock(file, operation);
    }
    ssize_t pread(int file, void* bytes, std::size_t count, off_t at) override {
        return fails("pread") ? -1 : FileCalls::pread(file, bytes, count, at);
    }
    /// A write that fails leaves half of its bytes behind; not so a few, which are within one sector.
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        if (fails("pwrite")) {
            const int error = errno;
            if (count > 16) FileCalls::pwrite(file, bytes, count / 2, at);
            errno = error;
            return -1;
        }
        if (!m_failed && count > 8 && std::memcmp(static_cast<const char*>(bytes) + 4, "moof", 4) == 0)
            ++m_fragments;
        return FileCalls::pwrite(file, bytes, count, at);
    }
    int fallocate(int file, int mode, off_t at, off_t count) override {
        return fails("fallocate") ? -1 : FileCalls::fallocate(file, mode, at, count);
    }
    int ftruncate(int file, off_t size) override {
        return fails("ftruncate") ? -1 : FileCalls::ftruncate(file, size);
    }
    int fdatasync(int) override { return fails("fdatasync") ? -1 : 0; }
    int fsync(int) override { return fails("fsync") ? -1 : 0; }
    int fstat(int file, struct stat* facts) override {
        return fails("fstat") ? -1 : FileCalls::fstat(file, facts);
    }
    int fstatvfs(int file, struct statvfs* facts) override {
        return fails("fstatvfs") ? -1 : FileCalls::fstatvfs(file, facts);
    }
    int futimens(int file, const timespec times[2]) override {
        return fails("futimens") ? -1 : FileCalls::futimens(file, times);
    }

  private:
    bool fails(const char* call) {
        const std::lock_guard lock(m_mutex);
        if (m_call != call || m_left-- > 0) return false;
        if (m_left < -1 && !m_forEver) return false;
        m_failed = true;
        errno = m_error;
        return true;
    }

    std::mutex m_mutex;
    std::string m_call;
    int m_left = 0;
    int m_error = 0;
    bool m_forEver = false;
    std::atomic<bool> m_failed = false;
    std::atomic<int> m_fragments = 0;
};
