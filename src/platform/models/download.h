#pragma once

#include "platform/models/local_file.h"

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>

/// What is to be downloaded: a file whose length is known.
struct DownloadSource {
    std::string url;
    std::uint64_t bytes;
};

/// How long a server may make us wait, in seconds, and how often it may send us elsewhere.
struct DownloadLimits {
    long connecting = 20;
    long stall = 30; ///< of less than 1000 bytes a second
    int redirects = 5;
};

/// Downloads the source into the file, going on behind the bytes that it holds (RFC 9110, range requests);
/// where the server does not go on, it starts over. The file then has the source's length; what is in it is
/// for the caller to check.
///
/// Only over https, also where the server redirects to, and that is never this machine; over plain http from
/// this machine itself alone. The proxies of the environment are used. Reports how many bytes the file has,
/// on the caller's thread. Throws Error "models" with ModelFailure::network and a sentence, within a second
/// of a stop request with ModelFailure::stopped; the file keeps what has come so far. The sizes that a server
/// tells are not trusted: it never gets longer than the source.
void download(const DownloadSource& source, LocalFile& file, const DownloadLimits& limits,
              const std::function<void(std::uint64_t)>& onBytes, const std::stop_token& stop);
