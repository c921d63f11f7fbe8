#pragma once

#include "app/workspace.h"
#include "capture/notices.h"
#include "capture/recording_recovery.h"
#include "platform/desktop/notification.h"
#include "platform/desktop/qt_main_queue.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <filesystem>
#include <vector>

/// Notices as bubbles of the desktop. There are three at most: what happens to a recording (each sentence is
/// a line in the same bubble, the latest last, and the bubble stays until the user has seen it), the
/// transcript that is ready, and the recordings that were recovered at launch. The two latter open what they
/// tell of when they are clicked.
///
/// Made and destroyed on the main thread. Where the desktop shows no notices the log says so, once, and holds
/// the sentences.
class DesktopNotices final : public QObject, public Notices {
    Q_OBJECT

  public:
    /// `sessionBus` may be disconnected. The workspace outlives the notices.
    DesktopNotices(const QDBusConnection& sessionBus, Workspace& workspace);

    // Any thread but a real-time one; they return at once.
    void tell(const std::string& sentence) override;
    void tellTranscriptReady(const std::filesystem::path& transcript);
    /// Says nothing when none of the files was mended.
    void tellRecovered(const std::vector<RecoveredFile>& files);

  Q_SIGNALS:
    /// The notice of a recording was clicked: the user wants to see the panel.
    void panelWanted();

  private:
    void tellOfRecording(const QString& sentence);
    void tellOfRecovery(int recordings, const std::filesystem::path& folder);
    void logRefusal(const QString& reason);

    Workspace& m_workspace;
    Notification m_recording;
    QStringList m_lines; // of the recording's bubble
    Notification m_transcript;
    std::filesystem::path m_transcriptFile;
    Notification m_recovery;
    std::filesystem::path m_recoveredFolder;
    bool m_refusalLogged = false;
    QtMainQueue m_main; // goes first, and with it what waits
};
