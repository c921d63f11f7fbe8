#pragma once

#include "cli/exit_status.h"
#include "cli/termination_signals.h"
#include "models/model_store.h"

#include <string>

/// murmelo models [--json], murmelo models install ID [--from FILE], murmelo models remove ID
///
/// `engineMissing` says what keeps the models from being used; empty when nothing does.
ExitStatus modelsCommand(int argc, char** argv, ModelStore& models, const std::string& engineMissing,
                         TerminationSignals& signals);
