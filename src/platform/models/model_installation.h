#pragma once

#include "models/model_store.h"
#include "platform/models/local_file.h"

#include <filesystem>
#include <stop_token>

/// Reads the whole file and throws Error "models" with ModelFailure::content unless it is the model's
/// download as the catalogue describes it.
void checkContent(LocalFile& file, const Model& model, const ModelStore::ProgressHandler& progress,
                  const std::stop_token& stop);

/// Unpacks a download that has been checked, and puts it in place as the folder `target` with its entry of
/// the catalogue as `entryFile`. `aside`, on the same file system, is used on the way and gone at the end.
/// Throws Error; `target` is then not there.
void placeModel(LocalFile& file, const Model& model, const std::filesystem::path& aside,
                const std::filesystem::path& target, const ModelStore::ProgressHandler& progress,
                const std::stop_token& stop);

/// The catalogue's entry in the folder of an installed model.
inline constexpr const char* entryFile = "model.json";

/// A folder with all it holds, if there is one.
void removeAll(const std::filesystem::path& path);
