#pragma once

#include "models/model_store.h"
#include "platform/models/download.h"
#include "platform/models/model_lock.h"

#include <filesystem>

/// Models in a folder, one folder for each, with its entry of the catalogue as model.json in it. What a
/// folder of that name holds is whole: it is unpacked beside it and renamed.
///
/// Beside them are hidden files: for each model at most .ID.part, what was downloaded so far, .ID.unpacked
/// and .ID.lock.
class FolderModelStore final : public ModelStore {
  public:
    /// Neither the catalogue nor the folder need exist.
    FolderModelStore(std::filesystem::path catalogue, std::filesystem::path folder,
                     DownloadLimits limits = {});

    std::vector<ListedModel> list() override;
    std::filesystem::path folder(const Model& model) const override;
    void install(const Model& model, const ProgressHandler& progress, std::stop_token stop) override;
    void installFrom(const std::filesystem::path& file, const Model& model, const ProgressHandler& progress,
                     std::stop_token stop) override;
    void remove(const std::string& id) override;

  private:
    std::filesystem::path hidden(const std::string& id, const char* suffix) const;
    bool isInstalled(const std::string& id) const;
    ModelLock lockFor(const Model& model, const ProgressHandler& progress, const std::stop_token& stop) const;
    void fetch(const Model& model, LocalFile& part, const ProgressHandler& progress,
               const std::stop_token& stop) const;
    void place(LocalFile& file, const Model& model, const ProgressHandler& progress,
               const std::stop_token& stop) const;

    const std::filesystem::path m_catalogue;
    const std::filesystem::path m_folder;
    const DownloadLimits m_limits;
};
