#include "platform/desktop/single_instance.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/private_files.h"
#include "platform/desktop/instance_adaptors.h"
#include "platform/desktop/instance_names.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QTimer>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// The system can wait for a lock, but not for a lock or a time.
constexpr auto lookAgain = 20ms;

QVariantMap platformData() {
    QVariantMap data;
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN"); // of whoever started us
    if (!token.isEmpty()) data.insert(QStringLiteral("activation-token"), QString::fromUtf8(token));
    return data;
}

QDBusMessage activation() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(QLatin1String(instance::name), QLatin1String(instance::path),
                                       QLatin1String(instance::application), QStringLiteral("Activate"));
    call.setArguments({platformData()});
    call.setAutoStartService(false);
    return call;
}

} // namespace

SingleInstance::SingleInstance(const QDBusConnection& sessionBus, std::filesystem::path lockFile,
                               std::chrono::milliseconds patience)
    : m_bus(sessionBus), m_lockFile(std::move(lockFile)), m_patience(patience) {
    // Adaptors belong to the object that they speak for.
    new ApplicationAdaptor(this, {[this] { Q_EMIT activationRequested(); },
                                  [this] { Q_EMIT toggleRequested(); }, [this] { Q_EMIT quitRequested(); }});
    new StatusAdaptor(this, [this] { return status ? status() : AppStatus(); });
}

SingleInstance::~SingleInstance() {
    stopServing();
    if (m_ownsProcessName) m_bus.unregisterService(QLatin1String(instance::processName));
}

void SingleInstance::stopServing() {
    if (!std::exchange(m_ownsName, false)) return;
    m_bus.unregisterService(QLatin1String(instance::name));
    m_bus.unregisterObject(QLatin1String(instance::path));
}

SingleInstance::Claim SingleInstance::claim() {
    if (!m_bus.isConnected()) return claimLock();
    return takeNames() ? Claim::granted : claimNames();
}

/// Never queues for a name. The one of the process is kept also when the other one is not to be had.
bool SingleInstance::takeNames() {
    if (!m_ownsProcessName) m_ownsProcessName = m_bus.registerService(QLatin1String(instance::processName));
    if (!m_ownsProcessName) return false;
    // The object is there before the name, so that nobody finds the name without it.
    m_bus.registerObject(QLatin1String(instance::path), this, QDBusConnection::ExportAdaptors);
    m_ownsName = m_bus.registerService(QLatin1String(instance::name));
    if (!m_ownsName) m_bus.unregisterObject(QLatin1String(instance::path));
    return m_ownsName;
}

/// Asks whoever serves to show itself, and waits for the answer or for a name to change its owner: one that
/// is starting serves in a moment, one that is closing goes.
SingleInstance::Claim SingleInstance::claimNames() {
    QEventLoop loop;
    bool changed = false; // since the last call was sent
    QDBusServiceWatcher owners;
    owners.setConnection(m_bus);
    owners.setWatchedServices({QLatin1String(instance::processName), QLatin1String(instance::name)});
    owners.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    connect(&owners, &QDBusServiceWatcher::serviceOwnerChanged, &loop, [&] {
        changed = true;
        loop.quit();
    });
    QTimer end;
    end.setSingleShot(true);
    connect(&end, &QTimer::timeout, &loop, &QEventLoop::quit);
    end.start(m_patience);

    std::optional<QDBusPendingCallWatcher> call;
    while (!takeNames()) { // first of all once more, now that no change is missed
        if (!call || call->isError()) {
            changed = false;
            call.emplace(m_bus.asyncCall(activation()));
            connect(&*call, &QDBusPendingCallWatcher::finished, &loop, [&] {
                if (changed || !call->isError()) loop.quit(); // an error alone would be the same again
            });
        }
        loop.exec();
        if (call->isFinished() && !call->isError()) return Claim::handedOver;
        if (end.isActive()) continue;
        if (!m_bus.interface()->isServiceRegistered(QLatin1String(instance::name))) return Claim::closing;
        const QString refusal = call->isFinished() ? call->error().message() : QStringLiteral("no answer");
        DebugLog::log("[app] the Murmelo that runs does not show itself: " + refusal.toStdString());
        return Claim::unanswered;
    }
    return Claim::granted;
}

SingleInstance::Claim SingleInstance::claimLock() {
    if (m_lockFile.empty()) return Claim::granted;
    m_lock = FileHandle(openPrivateFile(m_lockFile, O_RDWR | O_CREAT));
    const auto end = std::chrono::steady_clock::now() + m_patience;
    while (m_lock) {
        if (flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0) return Claim::granted;
        if (errno != EWOULDBLOCK) break;
        if (std::chrono::steady_clock::now() >= end) return Claim::taken;
        std::this_thread::sleep_for(lookAgain);
    }
    DebugLog::log("[app] could not make sure that no other Murmelo runs: " +
                  Error::posix(errno).localizedDescription());
    return Claim::granted;
}

std::filesystem::path instanceLockFile() {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder == '\0') return {};
    return std::filesystem::path(folder) / "murmelo.lock";
}
