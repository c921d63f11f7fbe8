#pragma once

#include "base/debug_log.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

/// The file that a fuzzer's bytes are put into. Log lines go nowhere.
class FuzzedFile {
  public:
    FuzzedFile() {
        DebugLog::replaceSurroundings(
            {"/dev/null", [] { return std::chrono::system_clock::now(); }, [](std::string_view) {}});
    }

    void fill(const std::uint8_t* bytes, std::size_t count) {
        std::ofstream(m_path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
    }
    bool holds(const std::uint8_t* bytes, std::size_t count) const {
        const std::string content = contentOf(m_path);
        return std::equal(content.begin(), content.end(), bytes, bytes + count,
                          [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
    }
    const std::filesystem::path& path() const { return m_path; }

  private:
    TemporaryFolder m_folder;
    const std::filesystem::path m_path = m_folder / "voice.m4a";
};
