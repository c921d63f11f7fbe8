#pragma once

#include "app/app_status.h"
#include "platform/posix/file_handle.h"

#include <QDBusConnection>
#include <QObject>
#include <filesystem>
#include <functional>

/// Makes sure that one Murmelo runs in a session, and lets others speak to it: the desktop starts it a second
/// time, a key is bound to its recording, a script asks how it is. It has a name on the session bus and an
/// object there (org.freedesktop.Application, and the status as properties); without a bus a lock in a file.
///
/// Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

  public:
    enum class Claim {
        granted,    ///< we are the one
        handedOver, ///< another one runs, and has been asked to show itself
        taken       ///< another one runs, and there is no bus to reach it
    };

    /// `sessionBus` may be disconnected; then `lockFile` is locked, unless it is empty or cannot be made.
    SingleInstance(const QDBusConnection& sessionBus, std::filesystem::path lockFile);
    ~SingleInstance() override;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Once. Waits for the other one for a few seconds at most. What others ask of us from then on is told
    /// when the event loop runs.
    Claim claim();

    /// What others are told; without it, an empty status.
    std::function<AppStatus()> status;

  Q_SIGNALS:
    void activationRequested();
    void toggleRequested();
    void quitRequested();

  private:
    Claim claimName();
    Claim claimLock();

    QDBusConnection m_bus;
    const std::filesystem::path m_lockFile;
    bool m_ownsName = false;
    FileHandle m_lock;
};

/// $XDG_RUNTIME_DIR/murmelo.lock; empty where there is no such folder.
std::filesystem::path instanceLockFile();
