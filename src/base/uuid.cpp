#include "base/uuid.h"

#include <cstdint>
#include <random>

std::string newUUID() {
    std::random_device random;
    std::string text;
    for (int i = 0; i < 16; ++i) {
        std::uint32_t byte = random() & 0xff;
        if (i == 6) byte = (byte & 0x0f) | 0x40; // version
        if (i == 8) byte = (byte & 0x3f) | 0x80; // variant
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        constexpr const char* digits = "0123456789ABCDEF";
        text += digits[byte >> 4];
        text += digits[byte & 0x0f];
    }
    return text;
}
