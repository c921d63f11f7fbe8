#include "late_backends.h"

#include "platform/media/aac_file_writer.h"
#include "platform/models/folder_model_store.h"

#include <utility>

const LateBackends* murmeloLateBackends() {
    static constexpr LateBackends backends{
        .makeFiles =
            [](std::function<void(const std::string&)> notice) -> std::unique_ptr<AudioFileWriterFactory> {
            return std::make_unique<AacFileWriterFactory>(std::move(notice));
        },
        .makeModels = [](std::filesystem::path catalogue,
                         std::filesystem::path folder) -> std::unique_ptr<ModelStore> {
            return std::make_unique<FolderModelStore>(std::move(catalogue), std::move(folder));
        },
    };
    return &backends;
}
