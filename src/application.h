#pragma once

#include "cli/termination_signals.h"

/// Runs the application itself, until it is told to quit; a termination signal tells it so. Returns the exit
/// status. Main thread, before any other.
int runApplication(int argc, char** argv, const TerminationSignals& signals);
