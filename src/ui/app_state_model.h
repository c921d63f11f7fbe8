#pragma once

#include "app/app_state.h"
#include "ui/level_peak.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <bitset>
#include <chrono>
#include <filesystem>
#include <optional>

class Workspace;

/// The application's state as views see it: properties to bind to, operations to call. It is the one observer
/// of the state and tells what has changed once per turn of the event loop: a view never sees a half-done
/// operation. Levels are told at most twenty-five times a second, as often as a meter has to move: the sound
/// server may report eight times as often, and each redraw costs. What is told of each is the highest value
/// since the last time, so that no peak is too short to be seen.
///
/// Main thread. State and workspace outlive it.
class AppStateModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The program makes the one that there is.")

    Q_PROPERTY(float micLevel READ micLevel NOTIFY levelsChanged)
    Q_PROPERTY(float outputLevel READ outputLevel NOTIFY levelsChanged)
    Q_PROPERTY(QString elapsedString READ elapsedString NOTIFY elapsedChanged)
    Q_PROPERTY(QVariantList mics READ mics NOTIFY micsChanged)
    Q_PROPERTY(QString selectedMicID READ selectedMicID WRITE setSelectedMicID NOTIFY changed)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY changed)
    Q_PROPERTY(bool isStarting READ isStarting NOTIFY changed)
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY changed)
    Q_PROPERTY(bool hasLastRecording READ hasLastRecording NOTIFY changed)
    Q_PROPERTY(QString lastDuration READ lastDuration NOTIFY changed)
    Q_PROPERTY(bool hasTranscript READ hasTranscript NOTIFY changed)
    Q_PROPERTY(bool isTranscribing READ isTranscribing NOTIFY changed)
    Q_PROPERTY(bool transcribeEnabled READ transcribeEnabled WRITE setTranscribeEnabled NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(bool micGranted READ micGranted NOTIFY changed)
    Q_PROPERTY(SystemAudio systemAudio READ systemAudio NOTIFY changed)

  public:
    enum class SystemAudio {
        Unknown, ///< not checked yet, or a check is running
        Works,
        Silent
    };
    Q_ENUM(SystemAudio)

    static constexpr std::chrono::milliseconds betweenLevels{40};

    /// `levelsPause` is the least time between one telling of levels and the next.
    AppStateModel(AppState& state, Workspace& workspace,
                  std::chrono::milliseconds levelsPause = betweenLevels);
    ~AppStateModel() override;
    AppStateModel(const AppStateModel&) = delete;
    AppStateModel& operator=(const AppStateModel&) = delete;

    float micLevel() const { return m_micPeak.with(m_state.micLevel); }
    float outputLevel() const { return m_outputPeak.with(m_state.outputLevel); }
    QString elapsedString() const { return QString::fromStdString(m_state.elapsedString()); }
    /// Objects {id, name}.
    QVariantList mics() const;
    /// Empty: none.
    QString selectedMicID() const;
    /// An empty one selects none.
    void setSelectedMicID(const QString& id);
    bool isRecording() const { return m_state.isRecording; }
    bool isStarting() const { return m_state.isStarting; }
    bool isSaving() const { return m_state.isSaving; }
    bool hasLastRecording() const { return m_state.lastRecording.get().has_value(); }
    QString lastDuration() const { return QString::fromStdString(m_state.lastDuration); }
    bool hasTranscript() const { return m_transcript.has_value(); }
    bool isTranscribing() const { return m_state.isTranscribing; }
    bool transcribeEnabled() const { return m_state.transcribeEnabled; }
    void setTranscribeEnabled(bool enabled) { m_state.transcribeEnabled = enabled; }
    QString status() const { return QString::fromStdString(m_state.status); }
    bool micGranted() const { return m_micGranted; }
    SystemAudio systemAudio() const;

    /// What no field announces, the transcript's place and the microphone's permission, is read again.
    void reread();

    // The panel is on the screen from panelAppeared to panelDisappeared; meanwhile the meters show what the
    // chosen microphone hears.
    Q_INVOKABLE void panelAppeared();
    Q_INVOKABLE void panelDisappeared();

    Q_INVOKABLE void toggleRecording() { m_state.toggleRecording(); }
    /// Shows the last recording's transcript with the desktop's program for it.
    Q_INVOKABLE void openTranscript();
    Q_INVOKABLE void revealLastRecording() { m_state.revealLastRecording(); }
    Q_INVOKABLE void openOnboarding() { m_state.openOnboarding(); }
    Q_INVOKABLE void finishOnboarding() { m_state.finishOnboarding(); }
    Q_INVOKABLE void requestMic() { m_state.requestMic(); }
    Q_INVOKABLE void grantSystemAudio() { m_state.grantSystemAudio(); }
    Q_INVOKABLE void openSoundSettings() { m_state.openSoundSettings(); }
    /// Stops the engines, and asks for the end of the program once files are closed.
    Q_INVOKABLE void quit();

  Q_SIGNALS:
    void levelsChanged();
    void elapsedChanged();
    void micsChanged();
    void changed(); ///< everything else
    void quitRequested();

  private Q_SLOTS:
    void flush();

  private:
    void willChange(Field field);
    void queueFlush();
    void tellLevels();
    void takeComputedValues();
    void followSelectedMic();

    AppState& m_state;
    Workspace& m_workspace;
    bool m_flushIsQueued = false;
    std::bitset<static_cast<std::size_t>(Field::systemAudioGranted) + 1> m_dirty; // but for the levels
    bool m_levelsAreDirty = false;
    LevelPeak m_micPeak;
    LevelPeak m_outputPeak;
    QTimer m_levelsPause; // runs while none are told
    std::optional<std::filesystem::path> m_transcript;
    bool m_micGranted = false;
    bool m_panelIsShown = false;
    std::optional<std::string> m_previewedMic; // the selection that the preview has been told of
};
