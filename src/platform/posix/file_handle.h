#pragma once

#include <unistd.h>
#include <utility>

/// Owns a file descriptor.
class FileHandle {
  public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) : m_descriptor(descriptor) {}
    ~FileHandle() { close(); }
    FileHandle(FileHandle&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        if (this != &other) {
            close();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    /// -1 when nothing is open.
    int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }
    /// False, with errno set, when the system could not write what was still on its way. Open or not, nothing
    /// is open afterwards.
    bool close() noexcept { return m_descriptor < 0 || ::close(std::exchange(m_descriptor, -1)) == 0; }

  private:
    int m_descriptor = -1;
};
