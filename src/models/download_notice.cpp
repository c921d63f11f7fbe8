#include "models/download_notice.h"

#include "models/megabytes.h"

#include <algorithm>

namespace {

using Kind = DownloadNews::Kind;
using Step = InstallationProgress::Step;

constexpr unsigned stepOfPercent = 5;

/// "35 %", rounded down.
std::string percentage(const InstallationProgress& progress) {
    const double share =
        progress.total > 0 ? static_cast<double>(progress.done) / static_cast<double>(progress.total) : 0;
    const auto steps = static_cast<unsigned>(std::clamp(share, 0.0, 1.0) * (100.0 / stepOfPercent));
    return std::to_string(steps * stepOfPercent) + " %";
}

std::string stateOf(const InstallationProgress& progress) {
    switch (progress.step) {
    case Step::waiting:
        return "another Murmelo installs it";
    case Step::paused:
        return percentage(progress) + ", pauses while a recording runs";
    case Step::downloading:
        return percentage(progress);
    case Step::checking:
        return "being checked";
    case Step::unpacking:
        return "being unpacked";
    }
    return {};
}

} // namespace

DownloadNotice downloadNotice(const Model& model, const DownloadNews& news) {
    const std::string name = model.id + ", " + megabytes(model.bytes);
    switch (news.kind) {
    case Kind::progress:
        return {"Downloading a speech model", name + ": " + stateOf(news.progress),
                model.bytes > largestUncancellable, false};
    case Kind::installed:
        return {"Speech model installed", name, false, true};
    case Kind::failed:
        return {"Speech model not installed", news.reason, false, true};
    case Kind::ended:
        break;
    }
    return {{}, {}, false, true};
}
