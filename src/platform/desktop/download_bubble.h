#pragma once

#include "models/download_notice.h"
#include "platform/desktop/notification.h"
#include "platform/desktop/qt_main_queue.h"

#include <QDBusConnection>
#include <QObject>
#include <optional>
#include <string>

/// An automatic download as a bubble of the desktop: what it is, how large, how far it has come and how it
/// ended, and a button that cancels a large one. It stays while the download runs. Once the user has closed
/// it only the end is told. A failure that repeats without any progress is told once.
///
/// Made and destroyed on the main thread; it takes the bubble of a download along.
class DownloadBubble final : public QObject {
    Q_OBJECT

  public:
    /// `sessionBus` may be disconnected.
    explicit DownloadBubble(const QDBusConnection& sessionBus);
    ~DownloadBubble() override;
    DownloadBubble(const DownloadBubble&) = delete;
    DownloadBubble& operator=(const DownloadBubble&) = delete;

    /// Any thread; returns at once.
    void tell(const Model& model, const DownloadNews& news);

  Q_SIGNALS:
    /// The user wants no more of that model's download.
    void cancelRequested(const std::string& id);

  private:
    void show(const std::string& id, const DownloadNotice& notice);

    Notification& bubble();

    const QDBusConnection m_bus;
    std::optional<Notification> m_bubble; // made for the first download
    std::string m_id;
    DownloadNotice m_latest;
    bool m_isFollowed = false; // shown, and not closed by the user
    QtMainQueue m_main;        // goes first, and with it what waits
};
