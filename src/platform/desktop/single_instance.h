#pragma once

#include "app/app_status.h"
#include "platform/posix/file_handle.h"

#include <QDBusConnection>
#include <QObject>
#include <chrono>
#include <filesystem>
#include <functional>

/// Makes sure that one Murmelo runs in a session, and lets others speak to it: the desktop starts it a second
/// time, a key is bound to its recording, a script asks how it is. It has two names on the session bus. The
/// one that others speak to leads to an object (org.freedesktop.Application, and the status as properties);
/// the other one stands for the process and is held until its files are closed. Without a bus there is a lock
/// in a file.
///
/// Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

  public:
    enum class Claim {
        granted,    ///< we are the one
        handedOver, ///< another one runs, and has been asked to show itself
        unanswered, ///< another one runs, but does not answer
        closing,    ///< another one no longer serves, but has not closed its files yet
        taken       ///< another one runs, and there is no bus to reach it
    };

    /// `sessionBus` may be disconnected; then `lockFile` is locked, unless it is empty or cannot be made.
    /// `patience` is how long a claim waits for another one to answer or to go.
    SingleInstance(const QDBusConnection& sessionBus, std::filesystem::path lockFile,
                   std::chrono::milliseconds patience = std::chrono::seconds(5));
    /// The next claim, also of another process, is granted.
    ~SingleInstance() override;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Once. As long as it waits for another one, events of the calling thread are handled. What others ask
    /// of us once it is granted is told when the event loop runs.
    Claim claim();

    /// After the event loop, before files are closed: others find no Murmelo to speak to, and a new one waits
    /// until this object goes.
    void stopServing();

    /// What others are told; without it, an empty status.
    std::function<AppStatus()> status;

  Q_SIGNALS:
    void activationRequested();
    void toggleRequested();
    void quitRequested();

  private:
    bool takeNames();
    Claim claimNames();
    Claim claimLock();

    QDBusConnection m_bus;
    const std::filesystem::path m_lockFile;
    const std::chrono::milliseconds m_patience;
    bool m_ownsProcessName = false;
    bool m_ownsName = false;
    FileHandle m_lock;
};

/// $XDG_RUNTIME_DIR/murmelo.lock; empty where there is no such folder.
std::filesystem::path instanceLockFile();
