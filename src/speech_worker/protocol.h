#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

/// What a speech worker tells its parent on standard output: one JSON object (RFC 8259) per line, in UTF-8.
/// Any number of utterances, then exactly one end or failure.
///
///     {"start": 1.25, "end": 3.5, "text": "Can you hear me"}
///     {"lastSampleTime": 12.0}
///     {"error": "The file can't be read."}
///
/// The program that tells a file's length says only that, or that it failed:
///
///     {"frames": 576000, "sampleRate": 48000.0}
namespace protocol {

/// One finished utterance. Seconds from the beginning of the file; not-a-number when unknown (null on the
/// line).
struct Utterance {
    double start;
    double end;
    std::string text;
};

/// The whole file was analysed. The time of its last sample in seconds; missing (null on the line) when there
/// was no audio.
struct End {
    std::optional<double> lastSampleTime;
};

/// The worker gave up. One sentence for the user.
struct Failure {
    std::string description;
};

/// How long the file is.
struct Length {
    std::int64_t frames; ///< not negative
    double sampleRate;   ///< hertz, at least 1
};

using Message = std::variant<Utterance, End, Failure, Length>;

/// The line with its line feed. Text that is not UTF-8 is repaired with U+FFFD, numbers that are not finite
/// become null.
std::string line(const Message& message);

class Violation : public std::runtime_error {
  public:
    using runtime_error::runtime_error;
};

/// Reads one line without its line feed. Unknown keys are ignored; everything else that is not exactly a
/// message throws Violation.
Message parse(std::string_view line);

} // namespace protocol
