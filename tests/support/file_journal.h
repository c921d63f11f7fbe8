#pragma once

#include "platform/posix/file_calls.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

/// The real calls without the waiting for the disk, for tests with thousands of files.
class UnsyncedCalls : public FileCalls {
  public:
    int fdatasync(int) override { return 0; }
    int fsync(int) override { return 0; }
};

/// Performs the real calls and remembers what they did to the contents of one file, so that every state in
/// which a crash could have left it can be made again.
class FileJournal : public UnsyncedCalls {
  public:
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        const ssize_t written = FileCalls::pwrite(file, bytes, count, at);
        if (written > 0)
            m_steps.push_back({static_cast<std::size_t>(at), std::string(static_cast<const char*>(bytes),
                                                                         static_cast<std::size_t>(written))});
        return written;
    }
    int ftruncate(int file, off_t size) override {
        m_steps.push_back({static_cast<std::size_t>(size), {}});
        return FileCalls::ftruncate(file, size);
    }

    std::size_t steps() const { return m_steps.size(); }
    /// How many bytes the step writes; 0 for one that sets the size.
    std::size_t bytesOf(std::size_t step) const { return m_steps[step].bytes.size(); }
    /// The file after so many steps, and after so many bytes of the next one.
    std::string content(std::size_t steps, std::size_t bytesOfNext = 0) const {
        std::string content;
        for (std::size_t i = 0; i < steps; ++i) apply(content, m_steps[i], m_steps[i].bytes.size());
        if (bytesOfNext > 0) apply(content, m_steps[steps], bytesOfNext);
        return content;
    }

  private:
    struct Step {
        std::size_t at; ///< or the new size
        std::string bytes;
    };

    static void apply(std::string& content, const Step& step, std::size_t count) {
        if (step.bytes.empty()) {
            content.resize(step.at);
            return;
        }
        content.resize(std::max(content.size(), step.at + count));
        content.replace(step.at, count, step.bytes, 0, count);
    }

    std::vector<Step> m_steps;
};
