#include "ui/app_state_model.h"

#include "app/workspace.h"

#include <QMetaObject>
#include <QPointer>
#include <QVariantMap>
#include <utility>

AppStateModel::AppStateModel(AppState& state, Workspace& workspace, std::chrono::milliseconds levelsPause)
    : m_state(state), m_workspace(workspace) {
    m_levelsPause.setSingleShot(true);
    m_levelsPause.setTimerType(Qt::PreciseTimer);
    m_levelsPause.setInterval(levelsPause);
    connect(&m_levelsPause, &QTimer::timeout, this, &AppStateModel::tellLevels);
    takeComputedValues();
    m_state.willChange = [this](Field field) { willChange(field); };
}

AppStateModel::~AppStateModel() {
    m_state.willChange = nullptr;
}

QVariantList AppStateModel::mics() const {
    QVariantList list;
    for (const MicChoice& mic : m_state.mics.get())
        list.append(QVariantMap{{QStringLiteral("id"), QString::fromStdString(mic.id)},
                                {QStringLiteral("name"), QString::fromStdString(mic.name)}});
    return list;
}

QString AppStateModel::selectedMicID() const {
    return QString::fromStdString(m_state.selectedMicID.get().value_or(""));
}

void AppStateModel::setSelectedMicID(const QString& id) {
    m_state.selectedMicID = id.isEmpty() ? std::nullopt : std::optional(id.toStdString());
}

AppStateModel::SystemAudio AppStateModel::systemAudio() const {
    const std::optional<bool>& granted = m_state.systemAudioGranted;
    if (!granted) return SystemAudio::Unknown;
    return *granted ? SystemAudio::Works : SystemAudio::Silent;
}

void AppStateModel::reread() {
    willChange(Field::none);
}

void AppStateModel::panelAppeared() {
    m_panelIsShown = true;
    m_previewedMic = m_state.selectedMicID;
    reread();
    if (m_state.isRecording) return; // the meters show the recording
    m_state.refreshMics();
    m_state.startPreview();
}

void AppStateModel::panelDisappeared() {
    m_panelIsShown = false;
    m_state.stopPreview();
}

void AppStateModel::openTranscript() {
    if (m_transcript) m_workspace.open(*m_transcript);
}

void AppStateModel::quit() {
    m_state.teardownOnQuit([model = QPointer(this)] {
        if (model) Q_EMIT model->quitRequested();
    });
}

// --- from the state to the views

void AppStateModel::willChange(Field field) {
    if (field == Field::micLevel || field == Field::outputLevel) {
        if (field == Field::micLevel) m_micPeak.leave(m_state.micLevel);
        if (field == Field::outputLevel) m_outputPeak.leave(m_state.outputLevel);
        m_levelsAreDirty = true;
        if (!m_levelsPause.isActive()) queueFlush();
        return;
    }
    m_dirty.set(static_cast<std::size_t>(field));
    queueFlush();
}

void AppStateModel::queueFlush() {
    if (!std::exchange(m_flushIsQueued, true)) QMetaObject::invokeMethod(this, "flush", Qt::QueuedConnection);
}

void AppStateModel::tellLevels() {
    if (m_levelsPause.isActive() || !std::exchange(m_levelsAreDirty, false)) return;
    if (m_levelsPause.interval() > 0) m_levelsPause.start();
    Q_EMIT levelsChanged();
    const bool micFell = m_micPeak.tell(m_state.micLevel);
    const bool outputFell = m_outputPeak.tell(m_state.outputLevel);
    if (!micFell && !outputFell) return;
    m_levelsAreDirty = true;
    if (!m_levelsPause.isActive()) queueFlush();
}

void AppStateModel::flush() {
    m_flushIsQueued = false;
    const auto take = [this](Field field) {
        const auto place = static_cast<std::size_t>(field);
        const bool wasDirty = m_dirty.test(place);
        m_dirty.reset(place);
        return wasDirty;
    };
    const bool elapsed = take(Field::elapsed);
    const bool mics = take(Field::mics);
    const bool others = m_dirty.any();
    m_dirty.reset(); // before anybody is told: what they change is told in the next turn

    if (others) {
        takeComputedValues();
        followSelectedMic();
    }
    tellLevels();
    if (elapsed) Q_EMIT elapsedChanged();
    if (mics) Q_EMIT micsChanged();
    if (others) Q_EMIT changed();
}

void AppStateModel::takeComputedValues() {
    m_transcript = m_state.lastTranscriptURL();
    m_micGranted = m_state.micStatus() == MicStatus::authorized;
}

/// Each assignment is announced, that of the same microphone too: only another one restarts the preview.
void AppStateModel::followSelectedMic() {
    if (!m_panelIsShown || m_previewedMic == m_state.selectedMicID.get()) return;
    m_previewedMic = m_state.selectedMicID;
    if (!m_state.isRecording) m_state.restartPreview();
}
