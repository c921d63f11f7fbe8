#pragma once

#include "models/model.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

/// The codes of errors of the domain "models".
enum class ModelFailure {
    catalogue = 1, ///< the catalogue is missing or damaged
    network = 2,   ///< the model could not be had in whole; another attempt may go on
    content = 3,   ///< what was had is not the model
    archive = 4,   ///< it is the model, and cannot be unpacked
    disk = 5,      ///< it cannot be stored or removed
    stopped = 6,   ///< a stop was requested
    unknown = 7,   ///< there is no such model
    metered = 8,   ///< the user would pay for the download and has not asked for it
};

struct ListedModel {
    Model model;
    bool isInstalled;
};

/// How far an installation is.
struct InstallationProgress {
    enum class Step {
        waiting, ///< another process installs or removes the same model
        paused,  ///< a recording runs
        downloading,
        checking,
        unpacking,
    };
    Step step;
    std::uint64_t done = 0;  ///< bytes, of the download in every step
    std::uint64_t total = 0; ///< bytes
};

/// Port: the models that can be had, and those that are on this machine. Any thread, any number of processes
/// at once.
class ModelStore {
  public:
    using ProgressHandler = std::function<void(const InstallationProgress&)>;

    virtual ~ModelStore() = default;
    /// The catalogue in its order, then what is installed and no longer in it. Throws Error.
    virtual std::vector<ListedModel> list() = 0;
    /// Where the model is, or would be.
    virtual std::filesystem::path folder(const Model& model) const = 0;

    /// Downloads and installs the model; at once when it is installed. Blocks, for minutes; reports on the
    /// caller's thread. A stop request ends it within a second. Throws Error: the model is then not
    /// installed, but what was downloaded is kept for the next attempt unless it is wrong.
    virtual void install(const Model& model, const ProgressHandler& progress, std::stop_token stop) = 0;
    /// The same from a file that the user has downloaded.
    virtual void installFrom(const std::filesystem::path& file, const Model& model,
                             const ProgressHandler& progress, std::stop_token stop) = 0;
    /// Removes a model, and what there is of its download. Throws Error when there is nothing.
    virtual void remove(const std::string& id) = 0;
};
