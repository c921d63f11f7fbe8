#include "base/folder_entries.h"

#include <algorithm>

std::vector<std::filesystem::path> folderEntries(const std::filesystem::path& folder,
                                                 std::error_code& error) {
    std::vector<std::filesystem::path> entries;
    // After an error the iterator equals the end, so the error alone tells the two apart.
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        entries.push_back(entry->path());
    std::sort(entries.begin(), entries.end());
    return entries;
}
