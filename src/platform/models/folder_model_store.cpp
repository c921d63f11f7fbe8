#include "platform/models/folder_model_store.h"

#include "base/folder_entries.h"
#include "models/model_catalogue.h"
#include "platform/models/faults.h"
#include "platform/models/model_installation.h"
#include "platform/models/model_lock.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace {

std::optional<std::string> contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::vector<Model> readCatalogue(const std::filesystem::path& file) {
    const std::optional<std::string> text = contentOf(file);
    if (text) return parseCatalogue(*text);
    throw modelError(ModelFailure::catalogue, "The catalogue of models " + file.string() +
                                                  " is missing: install the package murmelo again.");
}

/// The entry of an installed model; nothing when there is none in this folder.
std::optional<Model> installedEntry(const std::filesystem::path& folder) {
    try {
        const std::optional<std::string> text = contentOf(folder / entryFile);
        if (!text) return std::nullopt;
        Model model = parseModel(*text);
        return folder.filename() == model.id ? std::optional(std::move(model)) : std::nullopt;
    } catch (const Error&) {
        return std::nullopt;
    }
}

/// In the order of their names. Throws Error when the folder exists and cannot be read.
std::vector<Model> installedIn(const std::filesystem::path& folder) {
    std::vector<Model> models;
    std::error_code error;
    for (const std::filesystem::path& entry : folderEntries(folder, error))
        if (std::optional<Model> model = installedEntry(entry)) models.push_back(std::move(*model));
    if (error && error != std::errc::no_such_file_or_directory) throw diskError(folder, error.value());
    std::sort(models.begin(), models.end(), [](const Model& a, const Model& b) { return a.id < b.id; });
    return models;
}

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

void makeFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw diskError(folder, error.value());
}

} // namespace

FolderModelStore::FolderModelStore(std::filesystem::path catalogue, std::filesystem::path folder,
                                   DownloadLimits limits)
    : m_catalogue(std::move(catalogue)), m_folder(std::move(folder)), m_limits(limits) {}

std::vector<ListedModel> FolderModelStore::list() {
    std::vector<ListedModel> models;
    for (Model& model : readCatalogue(m_catalogue)) {
        const bool installed = isInstalled(model.id);
        models.push_back({std::move(model), installed});
    }
    for (Model& model : installedIn(m_folder)) {
        const auto same = [&](const ListedModel& listed) { return listed.model.id == model.id; };
        if (std::none_of(models.begin(), models.end(), same)) models.push_back({std::move(model), true});
    }
    return models;
}

std::filesystem::path FolderModelStore::folder(const Model& model) const {
    return m_folder / model.id;
}

std::filesystem::path FolderModelStore::hidden(const std::string& id, const char* suffix) const {
    return m_folder / ("." + id + suffix);
}

bool FolderModelStore::isInstalled(const std::string& id) const {
    return installedEntry(m_folder / id).has_value();
}

void FolderModelStore::install(const Model& model, const ProgressHandler& progress, std::stop_token stop) {
    const ModelLock lock = lockFor(model, progress, stop);
    if (isInstalled(model.id)) return; // by the other process, while this one waited
    LocalFile part = LocalFile::forAppending(hidden(model.id, ".part"));
    fetch(model, part, progress, stop);
    place(part, model, progress, stop);
    removeAll(part.path());
}

void FolderModelStore::installFrom(const std::filesystem::path& file, const Model& model,
                                   const ProgressHandler& progress, std::stop_token stop) {
    LocalFile source = LocalFile::forReading(file);
    const ModelLock lock = lockFor(model, progress, stop);
    if (isInstalled(model.id)) return;
    checkContent(source, model, progress, stop);
    place(source, model, progress, stop);
    removeAll(hidden(model.id, ".part")); // its download is not needed any more
}

void FolderModelStore::remove(const std::string& id) {
    const std::filesystem::path part = hidden(id, ".part");
    const std::filesystem::path installed = m_folder / id;
    const bool isName = !id.empty() && id.front() != '.' && id.find('/') == id.npos;
    if (!isName || (!isThere(installed) && !isThere(part)))
        throw modelError(ModelFailure::unknown, "The speech model “" + id + "” is not installed.");
    const auto refuse = [&] {
        throw modelError(ModelFailure::disk, "The speech model “" + id + "” is being installed right now.");
    };
    const ModelLock lock(hidden(id, ".lock"), refuse, {});
    const std::filesystem::path aside = hidden(id, ".unpacked");
    removeAll(aside);
    std::error_code error;
    std::filesystem::rename(installed, aside, error); // at once: half of a model is none
    if (error && error != std::errc::no_such_file_or_directory) throw diskError(installed, error.value());
    removeAll(aside);
    removeAll(part);
}

ModelLock FolderModelStore::lockFor(const Model& model, const ProgressHandler& progress,
                                    const std::stop_token& stop) const {
    makeFolder(m_folder);
    const auto onWait = [&] { progress({InstallationProgress::Step::waiting, 0, model.bytes}); };
    return {hidden(model.id, ".lock"), onWait, stop};
}

/// Downloads and checks. What an earlier attempt left may be of another file: when the whole is wrong, it is
/// downloaded again from its beginning, once.
void FolderModelStore::fetch(const Model& model, LocalFile& part, const ProgressHandler& progress,
                             const std::stop_token& stop) const {
    const auto onBytes = [&](std::uint64_t bytes) {
        progress({InstallationProgress::Step::downloading, bytes, model.bytes});
    };
    for (bool resumed = part.size() > 0;; resumed = false) {
        try {
            download({model.url, model.bytes}, part, m_limits, onBytes, stop);
            return checkContent(part, model, progress, stop);
        } catch (const Error& error) {
            if (error.domain() != "models" || error.code() != static_cast<int>(ModelFailure::content)) throw;
            part.clear();
            if (!resumed) {
                removeAll(part.path());
                throw;
            }
        }
    }
}

void FolderModelStore::place(LocalFile& file, const Model& model, const ProgressHandler& progress,
                             const std::stop_token& stop) const {
    placeModel(file, model, hidden(model.id, ".unpacked"), folder(model), progress, stop);
}
