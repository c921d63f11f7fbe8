#include "platform/models/archive_unpacking.h"

#include "platform/models/faults.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

constexpr std::size_t pieceSize = 262144;
constexpr std::uint64_t syncedAtOnce = 16 << 20; // bytes; a stop request waits for no more than this

struct ArchiveDeleter {
    void operator()(archive* reader) const { archive_read_free(reader); }
};
using ArchiveReader = std::unique_ptr<archive, ArchiveDeleter>;

Error refusal(const std::string& why) {
    return modelError(ModelFailure::archive, "The archive of the speech model is refused: " + why + ".");
}

Error damage(archive* reader) {
    const char* words = archive_error_string(reader);
    return modelError(ModelFailure::archive, "The archive of the speech model is damaged: " +
                                                 std::string(words != nullptr ? words : "unknown fault") +
                                                 ".");
}

/// What the archive library says of a step. True at the end of what the step reads.
bool ended(archive* reader, int result) {
    if (result == ARCHIVE_EOF) return true;
    if (result != ARCHIVE_OK && result != ARCHIVE_WARN) throw damage(reader);
    return false;
}

/// The entry's path below the folder.
std::filesystem::path safePath(archive_entry* entry) {
    const char* name = archive_entry_pathname(entry);
    if (name == nullptr || *name == '\0') throw refusal("it holds something without a name");
    std::filesystem::path path(name);
    if (path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end())
        throw refusal("it would write to “" + path.string() + "”, outside its folder");
    const auto type = archive_entry_filetype(entry);
    const bool isLink = archive_entry_hardlink(entry) != nullptr || archive_entry_symlink(entry) != nullptr;
    if (isLink || (type != AE_IFREG && type != AE_IFDIR))
        throw refusal("“" + path.string() + "” is neither a file nor a folder");
    return path;
}

class Unpacking {
  public:
    Unpacking(LocalFile& file, const std::filesystem::path& folder, const UnpackingLimits& limits,
              const std::function<void(std::uint64_t)>& onRead, const std::stop_token& stop)
        : m_folder(folder), m_limits(limits), m_onRead(onRead), m_stop(stop), m_reader(archive_read_new()),
          m_piece(pieceSize) {
        if (!m_reader) throw std::bad_alloc();
        archive_read_support_filter_bzip2(m_reader.get());
        archive_read_support_format_tar(m_reader.get());
        file.rewind();
        ended(m_reader.get(), archive_read_open_fd(m_reader.get(), file.descriptor(), pieceSize));
    }

    void run() {
        archive_entry* entry = nullptr; // owned by the reader
        while (!ended(m_reader.get(), archive_read_next_header(m_reader.get(), &entry))) {
            throwIfStopped(m_stop);
            const std::filesystem::path path = safePath(entry);
            m_names += std::distance(path.begin(), path.end());
            if (m_names > m_limits.names) throw refusal("it holds too many files");
            const std::filesystem::path target = m_folder / path;
            if (archive_entry_filetype(entry) == AE_IFDIR) {
                makeFolder(target);
            } else {
                makeFolder(target.parent_path());
                unpackFile(target);
                ++m_files;
            }
        }
        if (m_names == 0) throw refusal("it is empty");
        if (m_files == 0) throw refusal("it holds no file");
    }

  private:
    static void makeFolder(const std::filesystem::path& folder) {
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        if (error) throw diskError(folder, error.value());
    }

    void unpackFile(const std::filesystem::path& target) {
        LocalFile file = LocalFile::create(target);
        std::uint64_t unsynced = 0;
        for (;;) {
            throwIfStopped(m_stop);
            const la_ssize_t count = archive_read_data(m_reader.get(), m_piece.data(), m_piece.size());
            if (count < 0) throw damage(m_reader.get());
            if (count == 0) break;
            const auto size = static_cast<std::size_t>(count);
            m_unpacked += size;
            if (m_unpacked > m_limits.bytes) throw refusal("it is far larger than a model");
            file.write({m_piece.data(), size});
            unsynced += size;
            if (unsynced >= syncedAtOnce) {
                file.sync();
                unsynced = 0;
            }
            m_onRead(static_cast<std::uint64_t>(archive_filter_bytes(m_reader.get(), -1)));
        }
        file.sync();
    }

    const std::filesystem::path& m_folder;
    const UnpackingLimits m_limits;
    const std::function<void(std::uint64_t)>& m_onRead;
    const std::stop_token& m_stop;
    ArchiveReader m_reader;
    std::vector<char> m_piece;
    std::ptrdiff_t m_names = 0;
    int m_files = 0;
    std::uint64_t m_unpacked = 0;
};

} // namespace

void unpackArchive(LocalFile& file, const std::filesystem::path& folder, const UnpackingLimits& limits,
                   const std::function<void(std::uint64_t)>& onRead, const std::stop_token& stop) {
    Unpacking(file, folder, limits, onRead, stop).run();
}
