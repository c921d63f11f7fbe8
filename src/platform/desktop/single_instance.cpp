#include "platform/desktop/single_instance.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "platform/desktop/instance_adaptors.h"
#include "platform/desktop/instance_names.h"

#include <QDBusMessage>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <utility>

namespace {

constexpr int longestActivation = 5000; // milliseconds

QVariantMap platformData() {
    QVariantMap data;
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN"); // of whoever started us
    if (!token.isEmpty()) data.insert(QStringLiteral("activation-token"), QString::fromUtf8(token));
    return data;
}

} // namespace

SingleInstance::SingleInstance(const QDBusConnection& sessionBus, std::filesystem::path lockFile)
    : m_bus(sessionBus), m_lockFile(std::move(lockFile)) {
    // Adaptors belong to the object that they speak for.
    new ApplicationAdaptor(this, {[this] { Q_EMIT activationRequested(); },
                                  [this] { Q_EMIT toggleRequested(); }, [this] { Q_EMIT quitRequested(); }});
    new StatusAdaptor(this, [this] { return status ? status() : AppStatus(); });
}

SingleInstance::~SingleInstance() {
    if (!m_ownsName) return;
    m_bus.unregisterService(QLatin1String(instance::name));
    m_bus.unregisterObject(QLatin1String(instance::path));
}

SingleInstance::Claim SingleInstance::claim() {
    return m_bus.isConnected() ? claimName() : claimLock();
}

SingleInstance::Claim SingleInstance::claimName() {
    // The object is there before the name, so that nobody finds the name without it.
    m_bus.registerObject(QLatin1String(instance::path), this, QDBusConnection::ExportAdaptors);
    m_ownsName = m_bus.registerService(QLatin1String(instance::name)); // never queues for it
    if (m_ownsName) return Claim::granted;
    m_bus.unregisterObject(QLatin1String(instance::path));
    QDBusMessage call =
        QDBusMessage::createMethodCall(QLatin1String(instance::name), QLatin1String(instance::path),
                                       QLatin1String(instance::application), QStringLiteral("Activate"));
    call.setArguments({platformData()});
    const QDBusMessage answer = m_bus.call(call, QDBus::Block, longestActivation);
    if (answer.type() == QDBusMessage::ErrorMessage)
        DebugLog::log("[app] the Murmelo that runs does not show itself: " +
                      answer.errorMessage().toStdString());
    return Claim::handedOver;
}

SingleInstance::Claim SingleInstance::claimLock() {
    if (m_lockFile.empty()) return Claim::granted;
    m_lock = FileHandle(open(m_lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (m_lock && flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0) return Claim::granted;
    if (m_lock && errno == EWOULDBLOCK) return Claim::taken;
    DebugLog::log("[app] could not make sure that no other Murmelo runs: " +
                  Error::posix(errno).localizedDescription());
    return Claim::granted;
}

std::filesystem::path instanceLockFile() {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder == '\0') return {};
    return std::filesystem::path(folder) / "murmelo.lock";
}
