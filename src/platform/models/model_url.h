#pragma once

#include <string>

/// The parts of an address that matter to us.
struct ModelUrl {
    /// Throws Error "models" with ModelFailure::network when it is none, and when it is neither https nor
    /// plain http of this machine itself.
    explicit ModelUrl(const std::string& address);

    /// Where a server at this address redirects to. Throws as the constructor does, and when it leads from
    /// another machine to this one, whose services are nothing that a stranger may have us ask.
    ModelUrl redirected(const std::string& target) const;

    std::string text;
    std::string host;
    bool isThisMachine = false;
    bool isLocal = false; ///< plain http of this machine
};
