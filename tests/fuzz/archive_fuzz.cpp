// Unpacking of any file whatsoever: it is refused with an error, or unpacked; either way nothing but files
// and folders within the limits is in the folder, and nothing beside it.

#include "platform/models/archive_unpacking.h"

#include "base/error.h"
#include "fuzz/fuzzed_file.h"

#include <cstdlib>

namespace {

constexpr UnpackingLimits limits{200000, 100};

void checkContent(const std::filesystem::path& folder) {
    std::uint64_t bytes = 0;
    int names = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        ++names;
        if (entry.is_symlink() || (!entry.is_directory() && !entry.is_regular_file())) std::abort();
        if (entry.is_regular_file()) bytes += entry.file_size();
    }
    if (bytes > limits.bytes || names > limits.names) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static FuzzedFile file;
    static const TemporaryFolder outer;
    const std::filesystem::path folder = outer / "folder";
    std::filesystem::create_directory(folder);
    file.fill(bytes, count);
    try {
        LocalFile archive = LocalFile::forReading(file.path());
        unpackArchive(archive, folder, limits, [](std::uint64_t) {}, {});
    } catch (const Error&) { // refused
    }
    checkContent(folder);
    std::filesystem::remove_all(folder);
    if (!std::filesystem::is_empty(outer.path())) std::abort();
    return 0;
}
