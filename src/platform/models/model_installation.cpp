#include "platform/models/model_installation.h"

#include "models/model_catalogue.h"
#include "platform/models/archive_unpacking.h"
#include "platform/models/faults.h"
#include "platform/models/sha256.h"
#include "transcription/atomic_file.h"

#include <string>
#include <vector>

namespace {

using Step = InstallationProgress::Step;

constexpr std::size_t pieceSize = 1 << 20;
constexpr int mostNames = 10000;

/// Weights hardly shrink when they are compressed; this leaves room for small files that do.
UnpackingLimits limitsFor(const Model& model) {
    return {8 * model.bytes + (16 << 20), mostNames};
}

/// Hands over the whole file, piece by piece.
template <typename Consumer>
void readWhole(LocalFile& file, const std::stop_token& stop, const Consumer& consume) {
    file.rewind();
    std::vector<char> piece(pieceSize);
    for (;;) {
        throwIfStopped(stop);
        const std::size_t count = file.read(piece);
        if (count == 0) return;
        consume(std::span<const char>(piece.data(), count));
    }
}

Error notTheModel(const Model& model, const std::string& why) {
    return modelError(ModelFailure::content,
                      "The file is not the speech model “" + model.id + "”: " + why + ".");
}

/// Gone at the end of the scope, whatever is in it then.
class AsideFolder {
  public:
    explicit AsideFolder(const std::filesystem::path& path) : m_path(path) {
        removeAll(path); // of a process that was killed
        std::error_code error;
        std::filesystem::create_directory(path, error);
        if (error) throw diskError(path, error.value());
    }
    ~AsideFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    AsideFolder(const AsideFolder&) = delete;
    AsideFolder& operator=(const AsideFolder&) = delete;

  private:
    const std::filesystem::path& m_path;
};

/// Archives usually hold one folder, and everything in that.
std::filesystem::path innermost(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    std::filesystem::path whole = folder;
    if (!error && entry != std::filesystem::directory_iterator() && entry->is_directory(error)) {
        const std::filesystem::path first = entry->path();
        if (entry.increment(error) == std::filesystem::directory_iterator()) whole = first;
    }
    if (error) throw diskError(folder, error.value());
    return whole;
}

} // namespace

void removeAll(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    if (error) throw diskError(path, error.value());
}

void checkContent(LocalFile& file, const Model& model, const ModelStore::ProgressHandler& progress,
                  const std::stop_token& stop) {
    if (const std::uint64_t size = file.size(); size != model.bytes)
        throw notTheModel(model, "it has " + std::to_string(size) + " bytes instead of " +
                                     std::to_string(model.bytes));
    Sha256 hash;
    std::uint64_t done = 0;
    readWhole(file, stop, [&](std::span<const char> piece) {
        hash.update(piece);
        done += piece.size();
        progress({Step::checking, done, model.bytes});
    });
    if (const std::string digest = hash.digest(); digest != model.sha256)
        throw notTheModel(model, "its SHA-256 is " + digest + " instead of " + model.sha256);
}

void placeModel(LocalFile& file, const Model& model, const std::filesystem::path& aside,
                const std::filesystem::path& target, const ModelStore::ProgressHandler& progress,
                const std::stop_token& stop) {
    const AsideFolder folder(aside);
    std::filesystem::path whole = aside;
    if (model.archive == Model::Archive::tarBz2) {
        const auto onRead = [&](std::uint64_t done) { progress({Step::unpacking, done, model.bytes}); };
        unpackArchive(file, aside, limitsFor(model), onRead, stop);
        whole = innermost(aside);
    } else {
        LocalFile copy = LocalFile::create(aside / model.fileName());
        readWhole(file, stop, [&](std::span<const char> piece) { copy.write(piece); });
        copy.sync();
    }
    replaceFileAtomically(whole / entryFile, modelText(model));
    removeAll(target); // what has no entry is no model
    std::error_code error;
    std::filesystem::rename(whole, target, error);
    if (error) throw diskError(target, error.value());
}
