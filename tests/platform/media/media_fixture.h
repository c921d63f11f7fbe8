#pragma once

#include "platform/media/aac_file_writer.h"
#include "support/audio_signals.h"
#include "support/decoded_audio.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <vector>

/// Writes audio files into a temporary folder; log lines stay with the test.
class MediaTest : public testing::Test {
  protected:
    std::unique_ptr<AudioFileWriter> createFile(const std::filesystem::path& file) {
        return AacFileWriterFactory().create(file, AudioFileSettings{});
    }

    /// A finished file, written in calls of `block` frames.
    std::filesystem::path recorded(const std::string& name, std::span<const float> left,
                                   std::span<const float> right, std::size_t block = 480) {
        const std::filesystem::path file = folder / name;
        const auto writer = createFile(file);
        for (std::size_t at = 0; at < left.size(); at += block) {
            const std::size_t count = std::min(block, left.size() - at);
            writer->write(left.subspan(at, count), right.subspan(at, count));
        }
        return file;
    }

    LogCapture log;
    TemporaryFolder folder;
};
