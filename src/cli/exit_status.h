#pragma once

/// What a subcommand tells the shell.
enum class ExitStatus {
    done = 0,
    failed = 1, ///< a sentence on standard error says why, last
    usage = 2,
};
