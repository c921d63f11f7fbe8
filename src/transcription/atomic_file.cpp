#include "transcription/atomic_file.h"

#include "base/error.h"
#include "base/private_files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

/// A hidden file in the target's folder (rename works only within a file system), gone at the end of the
/// scope unless it became the target.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::filesystem::path& target) {
        for (int number = 0; m_descriptor < 0; ++number) {
            m_path = target.parent_path() /
                     ("." + target.filename().string() + "." + std::to_string(number) + ".tmp");
            m_descriptor = openPrivateFile(m_path, O_WRONLY | O_CREAT | O_EXCL);
            // A name that exists is another writer's, or was left by a killed process: not ours to touch.
            if (m_descriptor < 0 && errno != EEXIST) throw Error::posix(errno);
        }
    }
    ~TemporaryFile() {
        ::close(m_descriptor); // its error would be fsync's
        if (!m_becameTarget) ::unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::string_view content) const {
        while (!content.empty()) {
            const ssize_t written = ::write(m_descriptor, content.data(), content.size());
            if (written >= 0)
                content.remove_prefix(static_cast<std::size_t>(written));
            else if (errno != EINTR)
                throw Error::posix(errno);
        }
    }

    void become(const std::filesystem::path& target) {
        // Some file systems write the new name before the content; a power cut would leave an empty file.
        if (::fsync(m_descriptor) != 0) throw Error::posix(errno);
        if (::rename(m_path.c_str(), target.c_str()) != 0) throw Error::posix(errno);
        m_becameTarget = true;
    }

  private:
    std::filesystem::path m_path;
    int m_descriptor = -1;
    bool m_becameTarget = false;
};

/// Makes a rename last. Failure is no error: the new file is in place and whole, only a power cut within the
/// next seconds could bring back the old one, and not every file system can sync a folder.
void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

} // namespace

void replaceFileAtomically(const std::filesystem::path& target, std::string_view content) {
    TemporaryFile file(target);
    file.write(content);
    file.become(target);
    syncFolder(target.parent_path());
}
