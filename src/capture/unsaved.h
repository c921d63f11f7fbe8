#pragma once

/// What a recording would lack if its program ended now.
struct Unsaved {
    double seconds = 0; ///< of captured sound that is not in every file of it
    int openFiles = 0;  ///< that a recovery would have to close

    bool operator==(const Unsaved&) const = default;
};
