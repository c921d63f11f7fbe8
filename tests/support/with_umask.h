#pragma once

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs the task in a child process with this umask: a umask belongs to the whole process, and other tests'
/// files must not depend on it. The caller may have no other thread.
template <typename Task>
void withUmask(mode_t mask, const Task& task) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        umask(mask);
        task();
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS);
}

/// All umasks with which privacy is tested: none, the strictest common one, and one that takes the owner's
/// own permissions.
inline constexpr mode_t testedUmasks[] = {0, 077, 0777};

/// The permission bits of a file or folder, links followed; more than 07777 when it does not exist.
inline mode_t modeOf(const std::filesystem::path& path) {
    struct stat facts{};
    return stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : ~mode_t{0};
}
