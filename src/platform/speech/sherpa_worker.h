#pragma once

#include "platform/speech/model_engine.h"

/// The worker that recognises with the library sherpa-onnx. Worker and library are looked for where the
/// build tree and the installed tree have them.
ModelWorker sherpaWorker(const std::filesystem::path& executableFolder);
