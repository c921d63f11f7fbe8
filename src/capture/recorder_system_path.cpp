#include "capture/mixdown.h"
#include "capture/recorder.h"

#include "base/debug_log.h"

#include <algorithm>
#include <utility>

namespace {

/// Adds one buffer's frames to both channels: mono goes to both, of more than two channels the first two
/// count.
void appendFrames(const AudioBuffer& buffer, std::vector<float>& left, std::vector<float>& right) {
    const std::size_t samples = buffer.byteSize / sizeof(float);
    const std::size_t channels = buffer.channels;
    if (buffer.data == nullptr || samples < std::max<std::size_t>(channels, 1) || channels == 0) return;
    const std::span data(static_cast<const float*>(buffer.data), samples);
    const std::size_t second = channels == 1 ? 0 : 1;
    for (std::size_t frame = 0; frame < samples / channels; ++frame) {
        left.push_back(data[frame * channels]);
        right.push_back(data[frame * channels + second]);
    }
}

} // namespace

void Recorder::handleSystem(AudioBufferList buffers) {
    if (++m_counters->sysCallbacks == 1) DebugLog::log("[rec] first SYSTEM callback");

    std::vector<float> left;
    std::vector<float> right;
    for (const AudioBuffer& buffer : buffers) appendFrames(buffer, left, right); // one after the other
    if (left.empty()) return;

    m_lastSysLevel = audioLevel(left);
    m_sysFifo.append(left, right);
    m_systemFile.addCaptured(left.size());
    const std::optional<std::size_t> missing = admit(m_systemBacklog, left.size());
    if (!missing) return;
    m_writerQueue->async([this, missing = *missing, left = std::move(left), right = std::move(right)] {
        m_systemFile.write(missing, left, right);
        m_systemBacklog.remove(left.size());
    });
}
