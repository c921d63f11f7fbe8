#pragma once

#include "cli/exit_status.h"
#include "cli/termination_signals.h"

/// Runs the application itself, until it is told to quit; a termination signal tells it so. There is one in a
/// session: a second one asks the first to show itself, and is done. Main thread, before any other.
ExitStatus runApplication(int argc, char** argv, const TerminationSignals& signals);
