#pragma once

#include "transcription/locale.h"

#include <cstdint>
#include <string>
#include <vector>

/// A speech model that can be had, as the catalogue describes it.
struct Model {
    enum class Kind {
        nemoCtc,
        nemoTransducer,
        whisper,
        sileroVad, ///< finds speech and recognises none: it has no locales
    };
    /// What is downloaded: a tar archive, compressed with bzip2, or the one file itself.
    enum class Archive { tarBz2, file };

    std::string
        id; ///< ASCII letters, digits, "_", "-" and "."; not a "." at the beginning: it names a folder
    std::string engine;
    Kind kind;
    std::vector<Locale> locales; ///< the most usual one of a language first
    std::uint64_t bytes;         ///< of the download
    std::string sha256;          ///< of the download; 64 hexadecimal digits in lower case
    std::string url;
    Archive archive;
    std::string licence; ///< SPDX identifier
    bool isVerified;     ///< the checksum was seen in more than one independent place
    std::string checksumSource;

    /// The last part of the address.
    std::string fileName() const { return url.substr(url.rfind('/') + 1); }
    bool operator==(const Model&) const = default;
};
