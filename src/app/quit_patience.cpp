#include "app/quit_patience.h"

#include <algorithm>
#include <cmath>

bool QuitPatience::goesOn(Time now, const Unsaved& unsaved) {
    if (unsaved.seconds < m_least.seconds || unsaved.openFiles < m_least.openFiles) {
        m_progress = now;
        m_least = {std::min(m_least.seconds, unsaved.seconds),
                   std::min(m_least.openFiles, unsaved.openFiles)};
    }
    return now - m_begin < longest && now - m_progress < longestStandstill;
}

std::string lossAtQuit(const Unsaved& unsaved, const std::string& recording, const std::string& repair) {
    if (unsaved.openFiles == 0) return "";
    const std::string name = "“" + recording + "”";
    const std::string reason = "Murmelo has ended because the disk did not answer. ";
    const auto seconds = static_cast<long>(std::ceil(unsaved.seconds));
    if (seconds == 0) return reason + "Nothing of " + name + " is lost: it is repaired " + repair + ".";
    const std::string length =
        seconds == 1 ? "second of " + name + " is" : std::to_string(seconds) + " seconds of " + name + " are";
    return reason + "The last " + length + " lost; what came before is repaired " + repair + ".";
}
