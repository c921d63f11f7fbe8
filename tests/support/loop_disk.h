#pragma once

#include "platform/posix/file_handle.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <utility>

/// An ext4 file system in a file, for a scope; where this process may mount one.
class LoopDisk {
  public:
    LoopDisk(std::filesystem::path image, std::filesystem::path place)
        : m_image(std::move(image)), m_place(std::move(place)) {
        std::filesystem::create_directory(m_place);
        std::ofstream(m_image).close();
        std::filesystem::resize_file(m_image, 64 << 20);
        if (run("mkfs.ext4 -q -F '" + m_image.string() + "'")) mount();
    }
    ~LoopDisk() { unmount(); }
    LoopDisk(const LoopDisk&) = delete;
    LoopDisk& operator=(const LoopDisk&) = delete;

    bool mounted() const { return m_mounted; }
    std::filesystem::path operator/(const std::string& name) const { return m_place / name; }

    /// As after taking it out and putting it in again. Nothing on it may be open.
    bool mountAgain() {
        unmount();
        mount();
        return m_mounted;
    }
    /// An error of the file system makes it read-only, as the kernel does with a disk that fails. False where
    /// it cannot be asked to.
    bool makeReadOnly() const {
        std::ofstream trigger("/sys/fs/ext4/" + device() + "/trigger_fs_error");
        trigger << "1" << std::flush;
        return trigger.good();
    }
    /// From now on every access is an input/output error. False where it cannot be asked to.
    bool pullOut() const {
        constexpr unsigned long shutdown = _IOR('X', 125, unsigned);
        unsigned withoutJournal = 2;
        const FileHandle root(open(m_place.c_str(), O_RDONLY | O_CLOEXEC));
        return root && ioctl(root.get(), shutdown, &withoutJournal) == 0;
    }

  private:
    static bool run(const std::string& command) {
        return std::system((command + " > /dev/null 2>&1").c_str()) == 0;
    }
    void mount() {
        m_mounted =
            run("mount -o loop,errors=remount-ro '" + m_image.string() + "' '" + m_place.string() + "'");
    }
    void unmount() {
        if (std::exchange(m_mounted, false) && umount(m_place.c_str()) != 0)
            umount2(m_place.c_str(), MNT_DETACH);
    }
    /// The name of the loop device.
    std::string device() const {
        std::ifstream mounts("/proc/mounts");
        for (std::string source, place, rest; mounts >> source >> place && std::getline(mounts, rest);)
            if (place == m_place) return std::filesystem::path(source).filename();
        return {};
    }

    const std::filesystem::path m_image;
    const std::filesystem::path m_place;
    bool m_mounted = false;
};
