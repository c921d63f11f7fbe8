// Recovery of any file whatsoever: it is refused unchanged, or becomes a file that recovery calls whole.

#include "platform/media/mp4_recovery.h"

#include "fuzz/fuzzed_file.h"
#include "support/file_journal.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static FuzzedFile file;
    file.fill(bytes, count);
    UnsyncedCalls calls;
    Mp4Recovery recovery(calls);
    using State = RecoveredFile::State;
    const RecoveredFile looked = recovery.recoverFile(file.path(), RecordingRecovery::Mode::onlyLook);
    if (!file.holds(bytes, count)) std::abort();
    const RecoveredFile first = recovery.recoverFile(file.path(), RecordingRecovery::Mode::mend);
    if (first.state == State::foreign && !file.holds(bytes, count)) std::abort();
    if (first.state == State::failed || first.seconds != looked.seconds) std::abort();
    const RecoveredFile second = recovery.recoverFile(file.path(), RecordingRecovery::Mode::mend);
    const bool mended = first.state == State::mended || first.state == State::whole;
    if (second.state != (mended ? State::whole : first.state) || second.seconds != first.seconds)
        std::abort();
    return 0;
}
