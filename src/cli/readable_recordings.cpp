#include "cli/readable_recordings.h"

#include "base/recording_files.h"

#include <map>
#include <set>
#include <sys/stat.h>

namespace {

mode_t modeOf(const std::filesystem::path& path) {
    struct stat facts{};
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode : 0;
}

/// One word of a command for the shell, whatever it holds.
std::string shellWord(const std::filesystem::path& path) {
    std::string word = "'";
    for (const char character : path.string()) {
        if (character == '\'')
            word += "'\\''";
        else
            word += character;
    }
    return word + "'";
}

using Folders = std::set<std::filesystem::path>;

/// The folders of the recordings as words for the shell: several that have the names given by this program
/// and lie beside one another are one pattern.
std::string shellWords(const Folders& recordings) {
    const auto isNamedByUs = [](const std::filesystem::path& folder) {
        return folder.filename().string().starts_with("recording-");
    };
    std::map<std::filesystem::path, int> namedByUs;
    for (const auto& folder : recordings)
        if (isNamedByUs(folder)) ++namedByUs[folder.parent_path()];
    std::set<std::string> words;
    for (const auto& folder : recordings)
        words.insert(isNamedByUs(folder) && namedByUs[folder.parent_path()] > 1
                         ? shellWord(folder.parent_path()) + "/recording-*"
                         : shellWord(folder));
    std::string text;
    for (const std::string& word : words) text += " " + word;
    return text;
}

} // namespace

bool isReadableByOthers(const std::filesystem::path& file) {
    const mode_t mode = modeOf(file);
    const mode_t folder = modeOf(file.parent_path());
    const bool byGroup = (mode & S_IRGRP) != 0 && (folder & S_IXGRP) != 0;
    const bool byAll = (mode & S_IROTH) != 0 && (folder & S_IXOTH) != 0;
    return byGroup || byAll;
}

std::string readableRecordingsNotice(const std::vector<RecoveredFile>& files) {
    Folders readable;
    for (const RecoveredFile& file : files) {
        if (file.state == RecoveredFile::State::foreign) continue;
        const std::filesystem::path folder = file.path.parent_path();
        if (isReadableByOthers(file.path) || isReadableByOthers(folder / transcriptFileName))
            readable.insert(folder);
    }
    if (readable.empty()) return {};
    const std::string count =
        readable.size() == 1 ? "One recording" : std::to_string(readable.size()) + " recordings";
    return count + " can be read by other users; to change that: chmod -R go=" + shellWords(readable);
}
