#pragma once

#include "transcription/audio_file_info.h"
#include "transcription/locale.h"
#include "transcription/speech_engine.h"
#include "transcription/transcript.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// What is to be recognised, and whose words they are.
struct SpokenFile {
    std::filesystem::path file;
    Locale locale;
    std::string speaker;
};

/// Recognises one file: its utterances in the order in which the engine reports them, none when nobody
/// speaks. Installs the locale's model first where it is missing; that may take minutes.
///
/// Blocks; `onSegment` is called on the caller's thread for each utterance as soon as it is known. Throws
/// what a port throws, unchanged, and soon after a stop request. What was recognised until then is lost.
std::vector<Segment> transcribeFile(SpeechEngine& engine, AudioFileInfo& audioFiles, const SpokenFile& spoken,
                                    const WorkLimits& limits,
                                    const std::function<void(const Segment&)>& onSegment);
