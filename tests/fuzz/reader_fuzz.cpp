// Reading of any file whatsoever: it is refused with an error, or yields as many finite samples as it
// announces.

#include "platform/media/audio_reader.h"

#include "base/error.h"
#include "fuzz/fuzzed_file.h"
#include "platform/media/decoded_length.h"
#include "platform/media/recorded_length.h"
#include "platform/posix/regular_file.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>

namespace {

/// More than this of a small file is silence in the place of damaged packets, and only takes time.
constexpr std::int64_t longest = 2880000; // frames, a minute

struct Enough {};

void read(const std::filesystem::path& file) {
    const std::int64_t announced = decodedLength(openRegularFile(file)).frames;
    if (const auto recorded = recordedLength(file); recorded && recorded->frames != announced) std::abort();
    std::int64_t read = 0;
    const auto finite = [](float sample) { return std::isfinite(sample); };
    AudioReader reader(openRegularFile(file));
    while (const auto block = reader.next()) {
        const std::span<const float> left = block->left;
        if (left.size() != block->right.size() || !std::all_of(left.begin(), left.end(), finite))
            std::abort();
        read += static_cast<std::int64_t>(left.size());
        if (read > longest) throw Enough();
    }
    if (read != announced) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static FuzzedFile file;
    file.fill(bytes, count);
    try {
        read(file.path());
    } catch (const Error&) {          // refused
    } catch (const std::bad_alloc&) { // an index of gigabytes was announced
    } catch (const Enough&) {
    }
    return 0;
}
