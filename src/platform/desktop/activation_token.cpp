#include "platform/desktop/activation_token.h"

#include <QByteArray>

void reserveActivationToken() {
    constexpr const char* name = "XDG_ACTIVATION_TOKEN";
    const bool isGiven = qEnvironmentVariableIsSet(name);
    const QByteArray given = qgetenv(name); // by whoever started this program
    qunsetenv(name);
    qputenv(name, given); // a new variable becomes the last
    if (!isGiven) qunsetenv(name);
}
