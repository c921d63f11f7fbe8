#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A microphone as the user chooses it, remembers it and opens it.
struct MicChoice {
    std::string id;   ///< stable over restarts of the machine: PipeWire's node.name
    std::string name; ///< what the user reads

    bool operator==(const MicChoice&) const = default;
};

template <>
struct std::hash<MicChoice> {
    std::size_t operator()(const MicChoice& mic) const noexcept;
};

/// The microphones that are offered: all but loopback drivers, whose name contains "BlackHole" in any letter
/// case. The order is kept.
std::vector<MicChoice> offeredMics(std::vector<MicChoice> mics);

/// The microphone to use when the user has chosen none that is there: the system's default if it is offered,
/// else the first; nothing when none is offered.
std::optional<std::string> automaticMicID(const std::vector<MicChoice>& offered,
                                          const std::optional<std::string>& defaultID);
