#pragma once

#include <filesystem>

/// Where the one version of sherpa-onnx that Murmelo works with is, for a worker in this folder: in ../lib/
/// (the build tree), else in ../../lib/ (the installed tree), which is also the answer when it is in neither.
std::filesystem::path sherpaFolder(const std::filesystem::path& workerFolder);

/// The library in that folder that has the C interface.
inline constexpr const char* sherpaLibraryName = "libsherpa-onnx-c-api.so";
