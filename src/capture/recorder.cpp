#include "capture/recorder.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "base/private_files.h"
#include "base/recording_files.h"

#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto waitStep = 100ms;
constexpr int longestWait = 80; // steps
constexpr auto reportDelay = 3s;

std::string seconds(SerialQueue::Time time) {
    return fixedDecimal(std::chrono::duration<double>(time).count(), 2);
}

const char* word(bool value) {
    return value ? "true" : "false";
}

} // namespace

Recorder::Recorder(const RecorderServices& services)
    : m_services(services), m_tap(services.systemAudio.make()),
      m_writerQueue(services.makeQueue("tapdeck.writer")), m_micQueue(services.makeQueue("tapdeck.mic")),
      m_ioQueue(services.makeQueue("tapdeck.io")) {}

Recorder::~Recorder() {
    release([this] { m_tap.stop(); });
    cleanup();
}

// --- start
// ----------------------------------------------------------------------------------------------------

bool Recorder::start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL) {
    if (!openMicrophone(mic, !baseURL)) return false;
    if (baseURL && !createFiles(*baseURL)) return false;
    if (!startMicrophone()) return false;
    if (!waitForFirstBuffer()) return false;
    if (!startSystemAudio()) return false;
    scheduleReport();
    return true;
}

bool Recorder::openMicrophone(const MicChoice& mic, bool preview) {
    std::shared_ptr<MicSource> session;
    try {
        session = m_services.mics.open(mic.id);
    } catch (const Error& error) {
        DebugLog::log("[rec] capture input FAILED: " + error.printed());
        return fail("Could not open the microphone: " + error.localizedDescription());
    }
    if (!session) return fail("Microphone “" + mic.name + "” is not available. Is it connected?");
    if (!session->attach(*m_micQueue, [this](const MicBuffer& buffer) { captureOutput(buffer); }))
        return fail("Could not attach the microphone output.");
    if (!unlessStopped([&] { m_session = std::move(session); })) return endStoppedStart();
    DebugLog::log("[rec] capture session configured for " + mic.name + " preview=" + word(preview));
    return true;
}

bool Recorder::createFiles(const std::filesystem::path& folder) {
    createPrivateFolder(folder); // where it cannot, the files cannot be created either, and say why
    const Result files{folder / mixFileName, folder / voiceFileName, folder / systemFileName};
    try {
        const AudioFileSettings settings;
        const auto open = [&](RecordedFile& file, const std::filesystem::path& path) {
            return unlessStopped([&] { file.open(m_services.files, path, settings); });
        };
        if (!open(m_voiceFile, files.voice) || !open(m_systemFile, files.system) ||
            !open(m_mixFile, files.mix) || !unlessStopped([&] { m_result = files; }))
            return endStoppedStart();
        m_hasFiles = true;
    } catch (const Error& error) {
        return fail("Could not create the recording files: " + error.localizedDescription());
    }
    return true;
}

bool Recorder::startMicrophone() {
    const SerialQueue::Time before = m_services.timers.now();
    std::shared_ptr<MicSource> session;
    if (!unlessStopped([&] {
            session = m_session;
            session->start();
        }))
        return endStoppedStart();
    const bool running = session->waitUntilRunning();
    DebugLog::log("[rec] startRunning took " + seconds(m_services.timers.now() - before) +
                  "s running=" + word(running));
    return true;
}

/// Silence from the microphone is no failure: it may wake up later, and the system audio is worth having.
bool Recorder::waitForFirstBuffer() {
    int waits = 0;
    while (m_counters->micCallbacks == 0 && waits < longestWait) {
        if (!unlessStopped([] {})) return endStoppedStart();
        m_services.sleep(waitStep);
        ++waits;
    }
    DebugLog::log("[rec] mic delivering after " + shortestDecimal(waits / 10.0) +
                  "s callbacks=" + std::to_string(m_counters->micCallbacks));
    return true;
}

bool Recorder::startSystemAudio() {
    SystemAudioSource::Created tap{};
    if (!unlessStopped([&] { tap = m_tap.createTap("Tapdeck System Tap"); })) return endStoppedStart();
    DebugLog::log("[rec] tap create status=" + std::to_string(tap.status) + " id=" + std::to_string(tap.id));
    if (tap.status != 0 || tap.id == 0)
        return fail("Could not create the system-audio tap (error " + std::to_string(tap.status) +
                    "). Is the sound server (PipeWire) running?");

    SystemAudioSource::Created device{};
    if (!unlessStopped([&] { device = m_tap.createDevice("Tapdeck System Capture", "sys"); }))
        return endStoppedStart();
    // The words "agg" (the device) and "ioproc" (the handler) are part of the log's format.
    DebugLog::log("[rec] sys agg status=" + std::to_string(device.status) +
                  " id=" + std::to_string(device.id));
    if (device.status != 0 || device.id == 0)
        return fail("Could not create the system capture device (error " + std::to_string(device.status) +
                    ").");

    // Without the handler the recording goes on with silent system audio: the voice is worth having.
    SystemAudioSource::Registered registered{};
    int startStatus = -1;
    if (!unlessStopped([&] {
            registered = m_tap.registerHandler(
                *m_ioQueue, [this](AudioBufferList buffers, auto) { handleSystem(buffers); });
            if (registered.status == 0 && registered.id) startStatus = m_tap.start();
        }))
        return endStoppedStart();
    DebugLog::log("[rec] sys ioproc=" + std::to_string(registered.status) +
                  " start=" + std::to_string(startStatus));
    return true;
}

void Recorder::scheduleReport() {
    m_services.timers.asyncAfter(reportDelay, [counters = std::weak_ptr(m_counters)] {
        const std::shared_ptr<Counters> alive = counters.lock();
        const auto count = [&](auto counter) {
            return std::to_string(alive ? ((*alive).*counter).load() : -1);
        };
        DebugLog::log("[rec] 3s: micCallbacks=" + count(&Counters::micCallbacks) +
                      " sysCallbacks=" + count(&Counters::sysCallbacks) + " (sys 0 = silence)");
    });
}

// --- stop
// -----------------------------------------------------------------------------------------------------

void Recorder::stop() {
    release([this] {
        m_stopRequested = true;
        m_tap.stop();
    });
    cleanup();
    DebugLog::log("[rec] stopped; micCallbacks=" + std::to_string(m_counters->micCallbacks) +
                  " sysCallbacks=" + std::to_string(m_counters->sysCallbacks));
}

std::optional<Recorder::Result> Recorder::result() const {
    const std::lock_guard lock(m_lifecycle);
    return m_result;
}

/// Both start and stop may be in here at once: each release is whole, and whoever comes to a step finds the
/// earlier ones done, so the order holds.
void Recorder::cleanup() {
    release([this] {
        if (m_session) m_session->stop();
        m_session.reset();
    });
    release([this] { m_tap.destroyDevice(); });
    release([this] { m_tap.destroyTap(); });
    release([this] {
        m_writerQueue->sync([this] { // after every write that was queued
            for (RecordedFile* const file : {&m_voiceFile, &m_systemFile, &m_mixFile}) file->close();
        });
    });
    m_sysFifo.clear();
}

// --- steps
// ----------------------------------------------------------------------------------------------------

/// One acquisition. False, and nothing done, once a stop has been requested.
template <typename Acquire>
bool Recorder::unlessStopped(Acquire acquire) {
    const std::lock_guard lock(m_lifecycle);
    if (m_stopRequested) return false;
    acquire();
    return true;
}

template <typename Release>
void Recorder::release(Release step) {
    const std::lock_guard lock(m_lifecycle);
    step();
}

bool Recorder::fail(const std::string& message) {
    if (onError) onError(message);
    cleanup();
    return false;
}

/// A stop from another thread is no failure: it has no message.
bool Recorder::endStoppedStart() {
    release([this] { m_tap.stop(); });
    cleanup();
    return false;
}
