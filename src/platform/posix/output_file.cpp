#include "platform/posix/output_file.h"

#include "base/error.h"
#include "base/private_files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <system_error>
#include <utility>

namespace {

/// Repeats an interrupted call. Throws the error of one that failed.
template <typename Call>
auto checked(const Call& call) {
    for (;;) {
        const auto result = call();
        if (result >= 0) return result;
        if (errno != EINTR) throw Error::posix(errno);
    }
}

/// For what not every file system can do: false where it cannot.
template <typename Call>
bool supported(const Call& call) {
    try {
        checked(call);
        return true;
    } catch (const Error& error) {
        constexpr int without[] = {EINVAL, ENOLCK, ENOSYS, EOPNOTSUPP};
        if (std::find(std::begin(without), std::end(without), error.code()) == std::end(without)) throw;
        return false;
    }
}

} // namespace

bool isFull(int errorNumber) {
    return errorNumber == ENOSPC || errorNumber == EDQUOT || errorNumber == EFBIG;
}

OutputFile::OutputFile(FileCalls& calls, std::filesystem::path path, FileHandle handle)
    : m_calls(&calls), m_path(std::move(path)), m_handle(std::move(handle)) {}

OutputFile OutputFile::create(FileCalls& calls, const std::filesystem::path& path) {
    OutputFile file(calls, path, FileHandle(checked([&] {
                        return calls.open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC,
                                          privateFileMode);
                    })));
    makePrivate(file.m_handle.get());
    try {
        // Waits: only a recovery that has just found the empty file can hold the lock, and it lets go at
        // once.
        supported([&] { return calls.flock(file.m_handle.get(), LOCK_EX); });
    } catch (...) {
        file.remove();
        throw;
    }
    return file;
}

OutputFile OutputFile::open(FileCalls& calls, const std::filesystem::path& path) {
    // O_NONBLOCK: a pipe in the place of a recording must not hold the program up.
    constexpr int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const auto opened = [&](int access) {
        return FileHandle(checked([&] { return calls.open(path.c_str(), access | flags, 0); }));
    };
    FileHandle handle;
    try {
        handle = opened(O_RDWR);
    } catch (const Error& error) {
        if (error.code() != EACCES && error.code() != EPERM && error.code() != EROFS) throw;
        handle = opened(O_RDONLY);
    }
    OutputFile file(calls, path, std::move(handle));
    if (!S_ISREG(file.facts().st_mode)) throw Error("posix", EINVAL, "This is not a regular file.");
    checked([&] { return calls.flock(file.m_handle.get(), LOCK_EX | LOCK_NB); });
    return file;
}

struct stat OutputFile::facts() const {
    struct stat facts{};
    checked([&] { return m_calls->fstat(m_handle.get(), &facts); });
    return facts;
}

std::uint64_t OutputFile::size() const {
    return static_cast<std::uint64_t>(facts().st_size);
}

bool OutputFile::read(std::span<std::uint8_t> bytes, std::uint64_t at) const {
    while (!bytes.empty()) {
        const ssize_t count = checked([&] {
            return m_calls->pread(m_handle.get(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        });
        if (count == 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        at += static_cast<std::uint64_t>(count);
    }
    return true;
}

void OutputFile::write(std::span<const std::uint8_t> bytes, std::uint64_t at) {
    while (!bytes.empty()) {
        const ssize_t count = checked([&] {
            return m_calls->pwrite(m_handle.get(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        });
        if (count == 0) throw Error::posix(EIO); // would go on for ever
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        at += static_cast<std::uint64_t>(count);
    }
}

void OutputFile::truncate(std::uint64_t size) {
    checked([&] { return m_calls->ftruncate(m_handle.get(), static_cast<off_t>(size)); });
}

void OutputFile::tryTruncate(std::uint64_t size) noexcept {
    while (m_calls->ftruncate(m_handle.get(), static_cast<off_t>(size)) < 0 && errno == EINTR) {
    }
}

bool OutputFile::reserve(std::uint64_t at, std::uint64_t count) {
    // Writing respects the limit of this process, reserving does not.
    rlimit limit{};
    if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && at + count > limit.rlim_cur) throw Error::posix(EFBIG);
    try {
        checked([&] {
            return m_calls->fallocate(m_handle.get(), FALLOC_FL_KEEP_SIZE, static_cast<off_t>(at),
                                      static_cast<off_t>(count));
        });
        return true;
    } catch (const Error& error) {
        if (isFull(error.code())) throw;
        return false;
    }
}

bool OutputFile::isDeleted() const {
    std::error_code ignored; // some file systems count no links
    return facts().st_nlink == 0 && !std::filesystem::exists(m_path, ignored);
}

std::uint64_t OutputFile::freeBytes() const {
    struct statvfs facts{};
    checked([&] { return m_calls->fstatvfs(m_handle.get(), &facts); });
    return static_cast<std::uint64_t>(facts.f_bavail) * facts.f_frsize;
}

void OutputFile::syncData() {
    supported([&] { return m_calls->fdatasync(m_handle.get()); });
}

void OutputFile::sync() {
    supported([&] { return m_calls->fsync(m_handle.get()); });
}

void OutputFile::syncFolder() {
    const std::filesystem::path folder = std::filesystem::absolute(m_path).parent_path();
    for (const auto& each : {folder, folder.parent_path()}) {
        const FileHandle handle(m_calls->open(each.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
        if (handle) supported([&] { return m_calls->fsync(handle.get()); });
    }
}

OutputFile::Times OutputFile::times() const {
    const struct stat now = facts();
    return {now.st_atim, now.st_mtim};
}

void OutputFile::restoreTimes(const Times& times) noexcept {
    const timespec both[2] = {times.read, times.modified};
    m_calls->futimens(m_handle.get(), both);
}

void OutputFile::remove() noexcept {
    m_calls->unlink(m_path.c_str());
}
