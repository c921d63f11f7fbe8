#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <initializer_list>
#include <unistd.h>

/// Takes from this process, for this scope, root's right to read and write everything: its effective user is
/// "nobody", who becomes the owner of the given files and folders. Where an ordinary user runs the tests
/// nothing changes.
class OrdinaryUser {
  public:
    explicit OrdinaryUser(std::initializer_list<std::filesystem::path> owned) : m_wasRoot(::geteuid() == 0) {
        if (!m_wasRoot) return;
        for (const std::filesystem::path& path : owned) EXPECT_EQ(::chown(path.c_str(), nobody, nobody), 0);
        EXPECT_EQ(::seteuid(nobody), 0);
    }
    ~OrdinaryUser() {
        if (m_wasRoot) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  private:
    static constexpr uid_t nobody = 65534;
    const bool m_wasRoot;
};
