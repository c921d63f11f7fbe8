#pragma once

#include "capture/aligned_capture.h"
#include "capture/recorder.h"

#include <utility>

/// A recorder whose sources are kept on one time line and opened again when they are lost.
struct AlignedRecorder {
    AlignedRecorder(const RecorderServices& services, AlignedCapture::Audience audience)
        : capture(services.mics, services.systemAudio, services.makeQueue("tapdeck.lookout"),
                  std::move(audience)),
          recorder({capture, capture, services.files, services.notices, services.makeQueue, services.timers,
                    services.sleep}) {}

    AlignedCapture capture;
    Recorder recorder;
};
