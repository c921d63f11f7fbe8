#pragma once

#include <string>

/// A random UUID (RFC 4122, version 4) in upper-case hexadecimal with hyphens.
std::string newUUID();
