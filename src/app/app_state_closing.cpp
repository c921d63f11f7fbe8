#include "app/app_state.h"

#include "base/debug_log.h"

#include <functional>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long main waits for the end of an engine: a user does not notice.
constexpr auto longestWait = 30ms;
constexpr auto lookInterval = 250ms;
constexpr auto longestLogging = 5ms;
/// Between the notice of a loss and the end, so that the desktop gets it.
constexpr auto timeForNotice = 500ms;

} // namespace

// --- an engine's end
// ------------------------------------------------------------------------------------------------

/// `then` runs at once when the engine has ended within a moment, else once it has.
void AppState::closeRecording(const Closed& then) {
    const auto closing = m_recorder ? std::make_shared<Closing>(std::exchange(m_recorder, nullptr)) : nullptr;
    if (!closing) return then(*this, std::nullopt);
    const auto whenLate = onMain([then](AppState& state) { state.closingEnded(then); });
    if (m_services.jobs.asyncAndWait([closing] { closing->run(); }, longestWait, whenLate))
        return then(*this, closing->files());
    m_closing = closing;
    cancelTimer();
    isSaving = true;
    micLevel = 0;
    outputLevel = 0;
    status = "Saving…";
}

void AppState::closingEnded(const Closed& then) {
    const auto closing = std::exchange(m_closing, nullptr);
    isSaving = false;
    then(*this, closing->files());
    if (m_hasQuit && !m_hasGivenUp) endTeardown();
}

/// There is nothing to save, so nobody is told when it takes longer.
void AppState::closePreview(const std::shared_ptr<CaptureEngine>& engine) {
    m_services.jobs.asyncAndWait([engine] { engine->stop(); }, m_hasQuit ? 0ms : longestWait, [] {});
}

// --- quit
// -----------------------------------------------------------------------------------------------------

void AppState::teardownOnQuit(std::function<void()> then) {
    const bool isWatched = m_quitPatience.has_value();
    m_whenTornDown = std::move(then);
    tearDown();
    if (!m_closing || m_hasGivenUp) return endTeardown();
    if (!isWatched) watchTeardown();
}

bool AppState::waitForTeardown() {
    tearDown();
    while (m_closing && !m_closing->hasEnded()) {
        if (!maySaveOn()) return false;
        m_services.sleep(lookInterval);
    }
    return true;
}

void AppState::tearDown() {
    m_hasQuit = true;
    stopPreview();
    if (m_previewStarting) closePreview(m_previewStarting);
    if (m_recorder) closeRecording([](AppState& /*state*/, const auto& /*files*/) {});
    if (m_closing && !m_quitPatience) m_quitPatience.emplace(m_services.main.now(), m_closing->unsaved());
}

/// A closing that ends meanwhile ends the teardown itself.
void AppState::watchTeardown() {
    if (!m_closing) return;
    const bool goesOn = maySaveOn();
    const auto next = goesOn ? &AppState::watchTeardown : &AppState::endTeardown;
    m_services.main.asyncAfter(goesOn ? lookInterval : timeForNotice, [weak = weak_from_this(), next] {
        if (const std::shared_ptr<AppState> state = weak.lock()) std::invoke(next, *state);
    });
}

/// False, and the user is told once, when it is time to end although files are open.
bool AppState::maySaveOn() {
    if (m_hasGivenUp) return false;
    if (m_quitPatience->goesOn(m_services.main.now(), m_closing->unsaved())) return true;
    m_hasGivenUp = true;
    tellLoss();
    return false;
}

void AppState::tellLoss() {
    const std::string sentence = lossAtQuit(m_closing->unsaved(), m_recordingName, "at the next start");
    if (sentence.empty()) return;
    m_services.notices.tell(sentence);
    log("[app] " + sentence);
}

void AppState::endTeardown() {
    if (const auto then = std::exchange(m_whenTornDown, nullptr)) then();
}

/// The log may be on the disk that hangs: main hardly waits for it.
void AppState::log(const std::string& line) const {
    m_services.jobs.asyncAndWait([line] { DebugLog::log(line); }, longestLogging, [] {});
}
