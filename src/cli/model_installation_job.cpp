#include "cli/model_installation_job.h"

#include "cli/status_line.h"
#include "models/megabytes.h"

#include <chrono>
#include <future>
#include <mutex>
#include <stop_token>

namespace {

using namespace std::chrono_literals;
using Step = InstallationProgress::Step;

constexpr std::size_t barWidth = 30;

std::string bar(const InstallationProgress& progress) {
    const double part =
        progress.total > 0 ? static_cast<double>(progress.done) / static_cast<double>(progress.total) : 0;
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(barWidth));
    return "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "]";
}

} // namespace

std::string installationText(const std::string& id, const InstallationProgress& progress) {
    switch (progress.step) {
    case Step::waiting:
        return "Waiting for another Murmelo that installs " + id;
    case Step::paused:
        return "Downloading " + id + "  " + bar(progress) + "  pauses while a recording runs";
    case Step::downloading:
        return "Downloading " + id + "  " + bar(progress) + "  " + megabytes(progress.done) + " of " +
               megabytes(progress.total);
    case Step::checking:
        return "Checking " + id + "  " + bar(progress);
    case Step::unpacking:
        return "Unpacking " + id + "  " + bar(progress);
    }
    return {};
}

void installOnTerminal(ModelStore& models, const Model& model,
                       const std::optional<std::filesystem::path>& file, TerminationSignals& signals) {
    StatusLine line;
    std::mutex mutex;
    InstallationProgress latest{Step::checking, 0, model.bytes}; // guarded by mutex
    const auto onProgress = [&](const InstallationProgress& progress) {
        const std::lock_guard lock(mutex);
        latest = progress;
    };
    std::stop_source stop;
    auto installed = std::async(std::launch::async, [&] {
        if (file)
            models.installFrom(*file, model, onProgress, stop.get_token());
        else
            models.install(model, onProgress, stop.get_token());
    });
    while (installed.wait_for(0s) != std::future_status::ready) {
        if (signals.wait(50ms)) stop.request_stop();
        const std::lock_guard lock(mutex);
        line.show(installationText(model.id, latest));
    }
    line.show("");
    installed.get();
}
