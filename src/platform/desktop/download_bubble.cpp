#include "platform/desktop/download_bubble.h"

DownloadBubble::DownloadBubble(const QDBusConnection& sessionBus) : m_bus(sessionBus) {}

DownloadBubble::~DownloadBubble() {
    if (m_bubble && !m_latest.isFinal) m_bubble->withdraw();
}

Notification& DownloadBubble::bubble() {
    if (!m_bubble) {
        m_bubble.emplace(m_bus, Notification::Urgency::normal);
        connect(&*m_bubble, &Notification::cancelClicked, this, [this] { Q_EMIT cancelRequested(m_id); });
        connect(&*m_bubble, &Notification::closed, this, [this] { m_isFollowed = false; });
    }
    return *m_bubble;
}

void DownloadBubble::tell(const Model& model, const DownloadNews& news) {
    m_main.async([this, id = model.id, notice = downloadNotice(model, news)] { show(id, notice); });
}

void DownloadBubble::show(const std::string& id, const DownloadNotice& notice) {
    if (notice == m_latest) return;
    const bool begins = m_latest.isFinal || m_latest.summary.empty();
    m_latest = notice;
    m_id = id;
    if (notice.summary.empty()) return bubble().withdraw();
    if (!begins && !notice.isFinal && !m_isFollowed) return; // the user has closed it
    m_isFollowed = !notice.isFinal;
    bubble().cancelAction = notice.canBeCancelled ? tr("Cancel") : QString();
    bubble().show({QString::fromStdString(notice.summary), QString::fromStdString(notice.body),
                   !notice.isFinal, !begins && !notice.isFinal});
}
