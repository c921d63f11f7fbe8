#include "platform/posix/regular_file.h"

#include "base/error.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

FileHandle openRegularFile(const std::filesystem::path& path) {
    // O_NONBLOCK: a pipe in the place of a recording must not hold the program up.
    FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file) throw Error::posix(errno);
    requireRegularFile(file);
    return file;
}

void requireRegularFile(const FileHandle& file) {
    struct stat facts{};
    if (::fstat(file.get(), &facts) != 0) throw Error::posix(errno);
    if (S_ISDIR(facts.st_mode)) throw Error::posix(EISDIR);
    if (!S_ISREG(facts.st_mode)) throw Error("posix", EINVAL, "This is not a regular file.");
}
