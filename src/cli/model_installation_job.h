#pragma once

#include "cli/termination_signals.h"
#include "models/model_store.h"

#include <filesystem>
#include <optional>
#include <string>

/// Installs the model, from the file or by downloading it, with a progress bar on the terminal; a termination
/// signal ends it. Throws Error.
void installOnTerminal(ModelStore& models, const Model& model,
                       const std::optional<std::filesystem::path>& file, TerminationSignals& signals);

/// One line: what is being done to the model, and how much of it is.
std::string installationText(const std::string& id, const InstallationProgress& progress);
