#include "base/private_files.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr mode_t privateFolderMode = 0700;
constexpr mode_t permissions = 07777;

/// True when the folder exists afterwards. A new one gets its mode a second time, as mkdir() applies the
/// umask and keeps the set-group-ID bit of the folder above.
bool createFolder(const std::filesystem::path& folder) noexcept {
    if (::mkdir(folder.c_str(), privateFolderMode) != 0) return errno == EEXIST;
    ::fchmodat(AT_FDCWD, folder.c_str(), privateFolderMode, AT_SYMLINK_NOFOLLOW);
    return true;
}

} // namespace

void makePrivate(int descriptor) noexcept {
    struct stat facts{};
    if (::fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) return;
    // Not without need: fchmod() would change the time of the last status change.
    if ((facts.st_mode & permissions) != privateFileMode) ::fchmod(descriptor, privateFileMode);
}

int openPrivateFile(const std::filesystem::path& file, int flags) noexcept {
    const int descriptor = ::open(file.c_str(), flags | O_CLOEXEC, privateFileMode);
    if (descriptor >= 0) makePrivate(descriptor);
    return descriptor;
}

void createPrivateFolder(const std::filesystem::path& folder) {
    if (createFolder(folder) || errno != ENOENT || !folder.has_parent_path()) return;
    createPrivateFolder(folder.parent_path());
    createFolder(folder);
}
