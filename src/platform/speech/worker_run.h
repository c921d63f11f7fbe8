#pragma once

#include "base/error.h"
#include "platform/posix/file_handle.h"
#include "platform/speech/worker_answer.h"
#include "platform/speech/worker_engine.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

/// Runs a worker program that is handed these files (see ChildProcess), until it has ended in order and with
/// its lines read into `answer`. One line of the debug log holds the end of its standard error, if there is
/// any and nobody asked for a stop. Throws Error "engine" with a code of EngineFailure, also when the worker
/// says that it failed; Error "posix" when it can't be started; and what a handler of results throws.
void runWorkerProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                      std::vector<FileHandle> files, WorkerAnswer& answer, const std::stop_token& stop);

/// An Error "engine".
Error engineFailure(EngineFailure code, const std::string& description);

/// What a program says that lacks its last word.
Error incompleteAnswer();
