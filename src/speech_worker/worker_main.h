#pragma once

#include "speech_worker/audio_stream.h"
#include "speech_worker/recogniser.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The work that every speech worker does, whatever its recogniser: decode, remove what the loudspeakers
/// leaked into the microphone, cut at pauses, recognise cut by cut, tell each utterance as soon as it is
/// known. A reference that can't be used costs nothing but the removal, and a line on standard error.

struct WorkerArguments {
    std::filesystem::path model;
    std::string locale; ///< the platform's form, "en_US"
    std::filesystem::path
        voiceDetector;            ///< a model that hears voices, for engines that can use it; may be empty
    int file = -1;                ///< the descriptor of what is to be recognised
    std::optional<int> reference; ///< that of what the loudspeakers played meanwhile; missing when unknown
};
/// Makes the recogniser for a model folder and a locale. Throws Error.
using RecogniserFactory = std::function<std::unique_ptr<Recogniser>(const WorkerArguments& arguments)>;

/// Receives one line of the protocol with its line feed.
using LineSink = std::function<void(std::string_view line)>;

/// Everything but the process: `arguments` are those behind the program's name. Returns the exit status: 0
/// done, 1 failed, 2 wrong usage; each failure was also told as a line. What `tell` throws passes through.
int runWorker(std::span<char* const> arguments, const RecogniserFactory& makeRecogniser,
              const AudioStream& decode, const LineSink& tell);

/// What makes a program of it.
struct WorkerProgram {
    std::uint64_t mostMemory;           ///< bytes
    std::filesystem::path engineFolder; ///< libraries that are loaded only now; may be empty
    RecogniserFactory makeRecogniser;
    AudioStream decode;
};

/// The same as a process: it shuts itself in first (see enterSandbox), with the folders of the model and of
/// the engine; what the kernel does not offer for that is said on standard error. Lines go to standard
/// output, and the process ends at once when its standard input ends, because then nobody waits for the
/// answer any more.
int workerMain(int argc, char** argv, const WorkerProgram& program) noexcept;
