#pragma once

#include "base/error.h"
#include "models/model_store.h"

#include <filesystem>
#include <stop_token>
#include <string>

inline Error modelError(ModelFailure code, const std::string& sentence) {
    return {"models", static_cast<int>(code), sentence};
}

/// Why this file or folder cannot be read or changed, from errno.
Error diskError(const std::filesystem::path& path, int errorNumber);

/// Throws Error "models" with ModelFailure::stopped.
void throwIfStopped(const std::stop_token& stop);
