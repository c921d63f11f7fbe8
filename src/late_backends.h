#pragma once

#include "capture/audio_file_writer.h"
#include "models/model_store.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

/// Makers of the backends that bring eighty libraries along, FFmpeg's and what downloads: those take longer
/// to load than all else until the first frame, and a quarter of the memory. So they are in a module, which
/// is loaded when one of them is needed first (see LateModule).
struct LateBackends {
    std::unique_ptr<AudioFileWriterFactory> (*makeFiles)(std::function<void(const std::string&)> notice);
    std::unique_ptr<ModelStore> (*makeModels)(std::filesystem::path catalogue, std::filesystem::path folder);
};

/// The one function of the module.
extern "C" const LateBackends* murmeloLateBackends();
