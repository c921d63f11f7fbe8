#pragma once

#include "base/number_text.h"

#include <cstdint>
#include <string>

/// In millions of bytes: "104 MB", below ten "0.6 MB".
inline std::string megabytes(std::uint64_t bytes) {
    const double millions = static_cast<double>(bytes) / 1e6;
    return fixedDecimal(millions, millions < 10 ? 1 : 0) + " MB";
}
