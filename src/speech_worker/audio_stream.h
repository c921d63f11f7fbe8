#pragma once

#include <functional>
#include <span>

/// 16 kHz mono, full scale 1. The span is valid during the call.
using AudioSink = std::function<void(std::span<const float> samples)>;

/// Decodes a whole file from its beginning into the sink, in chunks of any size and constant memory, and
/// closes its descriptor. Throws Error, or what the sink throws.
using AudioStream = std::function<void(int descriptor, const AudioSink& sink)>;

/// The one for recorded files.
void decodeFile(int descriptor, const AudioSink& sink);
