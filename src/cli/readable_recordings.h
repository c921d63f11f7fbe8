#pragma once

#include "capture/recording_recovery.h"

#include <filesystem>
#include <string>
#include <vector>

/// Whether the permissions of the file and of its folder let the group or all users read it. The folders
/// above are not considered: they do not belong to the recording, and it may be copied or moved.
bool isReadableByOthers(const std::filesystem::path& file);

/// How many of the recordings to which these files belong are readable by others, their transcripts included,
/// as a sentence with the command that changes it. Empty when there is none. Files of others are left out.
std::string readableRecordingsNotice(const std::vector<RecoveredFile>& files);
