#pragma once

/// How a running Murmelo is found on the session bus. The path is the name with slashes, as
/// freedesktop.org's desktop entries want it of programs that the bus can start.
namespace instance {

inline constexpr const char* name = "org.murmelo.Murmelo";
/// Owned before the name above and released after it, when the process has closed its files.
inline constexpr const char* processName = "org.murmelo.Murmelo.Process";
inline constexpr const char* path = "/org/murmelo/Murmelo";
inline constexpr const char* application = "org.freedesktop.Application";
inline constexpr const char* toggleRecording = "toggle-recording"; ///< an action of it

/// Our own interface: the status as properties, which any program of the user may read.
inline constexpr const char* status = "org.murmelo.Murmelo";

} // namespace instance
