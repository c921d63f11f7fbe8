#pragma once

#include "models/model_downloads.h"

#include <string>

/// What the user reads of an automatic download.
struct DownloadNotice {
    std::string summary;
    std::string body;
    bool canBeCancelled = false;
    bool isFinal = false; ///< nothing follows
    bool operator==(const DownloadNotice&) const = default;
};

/// Downloads larger than this can be cancelled, in bytes.
inline constexpr std::uint64_t largestUncancellable = 200'000'000;

/// Progress is told in steps of five per cent, so that most news makes no new text. Empty when there is
/// nothing to tell any more and an earlier notice should go.
DownloadNotice downloadNotice(const Model& model, const DownloadNews& news);
