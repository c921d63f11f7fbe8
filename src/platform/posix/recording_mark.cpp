#include "platform/posix/recording_mark.h"

#include "base/private_files.h"
#include "platform/posix/file_handle.h"

#include <cstdlib>
#include <fcntl.h>
#include <utility>

namespace {

FileHandle opened(const std::filesystem::path& file, int flags) {
    if (file.empty()) return {};
    return FileHandle(openPrivateFile(file, O_RDWR | O_NOFOLLOW | flags));
}

/// Locks of open file descriptions: those of one process exclude one another like those of two.
struct flock wholeFile(short type) {
    struct flock lock{};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

struct RecordingMark::Held {
    explicit Held(RecordingMark& of) : mark(of), file(opened(of.m_file, O_CREAT)) {
        ++mark.m_held;
        struct flock lock = wholeFile(F_RDLCK); // several recordings may run at once
        if (file) ::fcntl(file.get(), F_OFD_SETLK, &lock);
    }
    ~Held() { --mark.m_held; }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    RecordingMark& mark;
    const FileHandle file;
};

std::shared_ptr<void> RecordingMark::hold() {
    return std::make_shared<Held>(*this);
}

bool RecordingMark::isHeld() const {
    if (m_held > 0) return true;
    const FileHandle file = opened(m_file, 0);
    // Only asks whether an exclusive lock would be granted: a lock of ours could hold up a recording.
    struct flock lock = wholeFile(F_WRLCK);
    return file && ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::filesystem::path RecordingMark::usualFile() {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder == '\0') return {};
    return std::filesystem::path(folder) / "murmelo-recording.lock";
}
