#include "platform/posix/input_file.h"

#include "base/error.h"
#include "platform/posix/regular_file.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

InputFile::InputFile(const std::filesystem::path& path) : m_handle(openRegularFile(path)) {}

std::uint64_t InputFile::size() const {
    struct stat facts{};
    if (::fstat(m_handle.get(), &facts) != 0) throw Error::posix(errno);
    return static_cast<std::uint64_t>(facts.st_size);
}

bool InputFile::read(std::span<std::uint8_t> bytes, std::uint64_t at) const {
    while (!bytes.empty()) {
        const ssize_t count = ::pread(m_handle.get(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Error::posix(errno);
        if (count == 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        at += static_cast<std::uint64_t>(count);
    }
    return true;
}
