#include "platform/models/local_file.h"

#include "platform/models/faults.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

LocalFile::LocalFile(std::filesystem::path path, int flags)
    : m_path(std::move(path)), m_handle(::open(m_path.c_str(), flags | O_CLOEXEC, 0666)) {
    if (!m_handle) throw diskError(m_path, errno);
}

LocalFile LocalFile::create(const std::filesystem::path& path) {
    return {path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW};
}

LocalFile LocalFile::forReading(const std::filesystem::path& path) {
    // Without O_NONBLOCK a pipe in the file's place would wait for a writer.
    LocalFile file(path, O_RDONLY | O_NONBLOCK);
    struct stat facts{};
    if (::fstat(file.descriptor(), &facts) != 0) throw diskError(path, errno);
    if (!S_ISREG(facts.st_mode)) throw diskError(path, S_ISDIR(facts.st_mode) ? EISDIR : EINVAL);
    return file;
}

LocalFile LocalFile::forAppending(const std::filesystem::path& path) {
    LocalFile file(path, O_RDWR | O_CREAT | O_NOFOLLOW);
    file.seek(SEEK_END);
    return file;
}

std::uint64_t LocalFile::size() const {
    struct stat facts{};
    if (::fstat(m_handle.get(), &facts) != 0) throw diskError(m_path, errno);
    return static_cast<std::uint64_t>(facts.st_size);
}

void LocalFile::seek(int whence) {
    if (::lseek(m_handle.get(), 0, whence) < 0) throw diskError(m_path, errno);
}

void LocalFile::rewind() {
    seek(SEEK_SET);
}

void LocalFile::clear() {
    if (::ftruncate(m_handle.get(), 0) != 0) throw diskError(m_path, errno);
    rewind();
}

std::size_t LocalFile::read(std::span<char> buffer) {
    for (;;) {
        const ssize_t count = ::read(m_handle.get(), buffer.data(), buffer.size());
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) throw diskError(m_path, errno);
    }
}

void LocalFile::write(std::span<const char> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(m_handle.get(), bytes.data(), bytes.size());
        if (count >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw diskError(m_path, errno);
    }
}

void LocalFile::sync() {
    if (::fdatasync(m_handle.get()) != 0) throw diskError(m_path, errno);
}
