#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>

/// Makes a tar archive in memory, with whatever names and kinds of entries a test wants.
class TarArchive {
  public:
    enum class Compression { none, bzip2 };

    explicit TarArchive(Compression compression = Compression::bzip2) : m_writer(archive_write_new()) {
        archive_write_set_format_pax_restricted(m_writer.get());
        if (compression == Compression::bzip2) archive_write_add_filter_bzip2(m_writer.get());
        archive_write_set_bytes_in_last_block(m_writer.get(), 1);
        check(archive_write_open(m_writer.get(), this, nullptr, &TarArchive::append, nullptr));
    }

    TarArchive& addFile(const std::string& path, std::string_view content) {
        begin(path, AE_IFREG, content.size());
        if (archive_write_data(m_writer.get(), content.data(), content.size()) < 0) fail();
        return *this;
    }
    /// A file of so many zeros.
    TarArchive& addZeros(const std::string& path, std::size_t count) {
        begin(path, AE_IFREG, count);
        const std::array<char, 65536> zeros{};
        for (std::size_t done = 0; done < count; done += zeros.size())
            if (archive_write_data(m_writer.get(), zeros.data(), zeros.size()) < 0) fail();
        return *this;
    }
    TarArchive& addFolder(const std::string& path) {
        begin(path, AE_IFDIR, 0);
        return *this;
    }
    TarArchive& addSymbolicLink(const std::string& path, const std::string& target) {
        archive_entry_set_symlink(m_entry.get(), target.c_str());
        begin(path, AE_IFLNK, 0);
        return *this;
    }
    TarArchive& addHardLink(const std::string& path, const std::string& target) {
        archive_entry_set_hardlink(m_entry.get(), target.c_str());
        begin(path, AE_IFREG, 0);
        return *this;
    }
    /// A device, a pipe.
    TarArchive& addSpecial(const std::string& path, mode_t type) {
        begin(path, type, 0);
        return *this;
    }
    std::string bytes() {
        check(archive_write_close(m_writer.get()));
        return m_bytes;
    }

  private:
    struct WriterDeleter {
        void operator()(archive* writer) const { archive_write_free(writer); }
    };
    struct EntryDeleter {
        void operator()(archive_entry* entry) const { archive_entry_free(entry); }
    };

    void begin(const std::string& path, mode_t type, std::size_t size) {
        archive_entry_set_pathname(m_entry.get(), path.c_str());
        archive_entry_set_filetype(m_entry.get(), type);
        archive_entry_set_perm(m_entry.get(), 0644);
        archive_entry_set_size(m_entry.get(), static_cast<la_int64_t>(size));
        check(archive_write_header(m_writer.get(), m_entry.get()));
        archive_entry_clear(m_entry.get());
    }
    void check(int result) const {
        if (result != ARCHIVE_OK) fail();
    }
    [[noreturn]] void fail() const { throw std::runtime_error(archive_error_string(m_writer.get())); }

    static la_ssize_t append(archive*, void* self, const void* bytes, std::size_t count) {
        static_cast<TarArchive*>(self)->m_bytes.append(static_cast<const char*>(bytes), count);
        return static_cast<la_ssize_t>(count);
    }

    std::string m_bytes;
    std::unique_ptr<archive, WriterDeleter> m_writer;
    std::unique_ptr<archive_entry, EntryDeleter> m_entry{archive_entry_new()};
};
