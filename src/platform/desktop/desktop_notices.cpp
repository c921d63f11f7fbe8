#include "platform/desktop/desktop_notices.h"

#include "base/debug_log.h"

#include <set>
#include <utility>

namespace {

constexpr int mostLines = 4; // more than bubbles show

QString fileName(const std::filesystem::path& path) {
    return QString::fromStdString(path.filename().string());
}

} // namespace

DesktopNotices::DesktopNotices(const QDBusConnection& sessionBus, Workspace& workspace)
    : m_workspace(workspace), m_recording(sessionBus, Notification::Urgency::critical),
      m_transcript(sessionBus, Notification::Urgency::normal),
      m_recovery(sessionBus, Notification::Urgency::normal) {
    m_recording.action = tr("Open Murmelo");
    connect(&m_recording, &Notification::clicked, this, &DesktopNotices::panelWanted);
    connect(&m_recording, &Notification::closed, this, [this] { m_lines.clear(); });
    m_transcript.action = tr("Open Transcript");
    connect(&m_transcript, &Notification::clicked, this, [this] { m_workspace.open(m_transcriptFile); });
    m_recovery.action = tr("Show Recordings");
    connect(&m_recovery, &Notification::clicked, this, [this] { m_workspace.open(m_recoveredFolder); });
    for (const Notification* const each : {&m_recording, &m_transcript, &m_recovery})
        connect(each, &Notification::refused, this, &DesktopNotices::logRefusal);
}

void DesktopNotices::tell(const std::string& sentence) {
    m_main.async([this, text = QString::fromStdString(sentence)] { tellOfRecording(text); });
}

void DesktopNotices::tellOfRecording(const QString& sentence) {
    m_lines.removeAll(sentence); // said again, it is the latest
    m_lines.append(sentence);
    while (m_lines.size() > mostLines) m_lines.removeFirst();
    m_recording.show({QStringLiteral("Murmelo"), m_lines.join(QLatin1Char('\n'))});
}

void DesktopNotices::tellTranscriptReady(const std::filesystem::path& transcript) {
    m_main.async([this, transcript] {
        m_transcriptFile = transcript;
        m_transcript.show({tr("Transcript ready"), fileName(transcript.parent_path())});
    });
}

void DesktopNotices::tellRecovered(const std::vector<RecoveredFile>& files) {
    std::set<std::filesystem::path> recordings;
    for (const RecoveredFile& file : files)
        if (file.state == RecoveredFile::State::mended) recordings.insert(file.path.parent_path());
    if (recordings.empty()) return;
    const int count = static_cast<int>(recordings.size());
    const std::filesystem::path& first = *recordings.begin();
    m_main.async(
        [this, count, folder = count == 1 ? first : first.parent_path()] { tellOfRecovery(count, folder); });
}

void DesktopNotices::tellOfRecovery(int recordings, const std::filesystem::path& folder) {
    m_recoveredFolder = folder;
    m_recovery.show({recordings == 1 ? tr("A recording was recovered")
                                     : tr("%1 recordings were recovered").arg(recordings),
                     tr("Murmelo had ended before it could close them. What was recorded is whole.")});
}

void DesktopNotices::logRefusal(const QString& reason) {
    if (std::exchange(m_refusalLogged, true)) return;
    DebugLog::log("[app] the desktop shows no notices: " + reason.toStdString());
}
