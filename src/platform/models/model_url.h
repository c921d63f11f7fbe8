#pragma once

#include <string>

/// The parts of an address that matter to us.
struct ModelUrl {
    /// Throws Error "models" with ModelFailure::network when it is none, and when it is neither https nor
    /// plain http of this machine itself.
    explicit ModelUrl(const std::string& address);

    std::string text;
    std::string host;
    bool isLocal = false; ///< plain http of this machine
};
