#pragma once

#include <chrono>
#include <filesystem>
#include <string>

/// Where recordings are and what their files are called.

inline constexpr const char* voiceFileName = "voice.m4a";
inline constexpr const char* systemFileName = "system.m4a";
inline constexpr const char* mixFileName = "mix.m4a";
inline constexpr const char* transcriptFileName = "transcript.txt";

/// The user's music folder after the freedesktop.org user-dirs convention: XDG_MUSIC_DIR of
/// <configHome>/user-dirs.dirs. Without an entry, or when the entry is the home folder itself (the
/// convention's way to say "none"), it is the home folder.
std::filesystem::path musicFolder(const std::filesystem::path& home, const std::filesystem::path& configHome);

/// The user's music folder with "Murmelo" appended, whether it is there or not.
std::filesystem::path placeOfRecordings();

/// The same folder. Every call tries to create it, for its owner alone; a failure is ignored (the recording
/// that then fails says why).
std::filesystem::path recordingsFolder();

/// "recording-" and the local time as yyyy-MM-dd-HHmmss in ASCII digits, in the time zone that holds at the
/// time of the call. Two starts within a second give the same name. Any thread.
std::string recordingFolderName(std::chrono::system_clock::time_point start);
