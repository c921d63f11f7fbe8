#pragma once

#include "transcription/audio_file_info.h"

#include <filesystem>
#include <optional>

/// The length of a file that Mp4TrackWriter or a recovery closed, from its index, or of one that is still
/// open, from the heads of its fragments. It is the one that AudioReader yields, and no byte of sound is read
/// for it. Nothing for every file that is not, from its head to its end, as we write it: one of other
/// programs, a torn or damaged one. Throws Error "posix" when the file cannot be read. Any thread.
std::optional<AudioFileFacts> recordedLength(const std::filesystem::path& path);
