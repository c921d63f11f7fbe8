#pragma once

#include <filesystem>
#include <string>
#include <sys/mount.h>
#include <utility>

/// A file system in memory of so many KiB, for a scope; where this process may mount one.
class SmallDisk {
  public:
    SmallDisk(std::filesystem::path place, int kibibytes) : m_place(std::move(place)) {
        std::filesystem::create_directory(m_place);
        const std::string options = "size=" + std::to_string(kibibytes) + "k";
        m_mounted = mount("murmelo-test", m_place.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~SmallDisk() {
        if (m_mounted) umount2(m_place.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool mounted() const { return m_mounted; }
    std::filesystem::path operator/(const std::string& name) const { return m_place / name; }

  private:
    std::filesystem::path m_place;
    bool m_mounted = false;
};
