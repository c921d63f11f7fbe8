#pragma once

#include "platform/media/aac_file_writer.h"
#include "support/audio_signals.h"
#include "support/decoded_audio.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <string>
#include <vector>

inline constexpr std::int64_t packetsInFragment = 23; ///< that the writer makes, about half a second

/// How many samples count in an open file with so many fragments: those of the encoder's padding do not.
constexpr std::int64_t framesOfFragments(std::int64_t fragments) {
    return fragments * packetsInFragment * 1024 - 1024;
}

/// Writes audio files into a temporary folder; log lines stay with the test.
class MediaTest : public testing::Test {
  protected:
    std::unique_ptr<AudioFileWriter> createFile(const std::filesystem::path& file) {
        return files.create(file, AudioFileSettings{});
    }

    /// A finished file, written in calls of `block` frames.
    std::filesystem::path recorded(const std::string& name, std::span<const float> left,
                                   std::span<const float> right, std::size_t block = 480) {
        std::filesystem::path file = folder / name;
        const auto writer = createFile(file);
        for (std::size_t at = 0; at < left.size(); at += block) {
            const std::size_t count = std::min(block, left.size() - at);
            writer->write(left.subspan(at, count), right.subspan(at, count));
        }
        return file;
    }

    /// A file made by the ffmpeg program.
    std::filesystem::path foreign(const std::string& name, const std::string& arguments) {
        auto file = folder / name;
        const std::string command =
            "ffmpeg -v error -y " + arguments + " '" + file.string() + "' > /dev/null 2>&1";
        [[maybe_unused]] const int status = std::system(command.c_str());
        return file;
    }
    static bool ffmpegIsMissing() { return std::system("ffmpeg -version > /dev/null 2>&1") != 0; }

    LogCapture log;
    TemporaryFolder folder;
    AacFileWriterFactory files;
};
