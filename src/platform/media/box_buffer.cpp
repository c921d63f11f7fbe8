#include "platform/media/box_buffer.h"

#include <algorithm>

void BoxBuffer::number(std::uint64_t value, std::size_t size) {
    while (size-- > 0) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * size)));
}

void BoxBuffer::putSize(std::size_t begin, std::uint64_t following) {
    const std::uint64_t size = bytes.size() - begin + following;
    for (std::size_t i = 0; i < 4; ++i) bytes[begin + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
}

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count) {
    if (at > bytes.size() || count > bytes.size() - at) return 0;
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, count)) value = value << 8 | byte;
    return value;
}

std::span<const std::uint8_t> contentOfBox(std::span<const std::uint8_t> boxes,
                                           std::initializer_list<std::string_view> path) {
    for (const std::string_view wanted : path) {
        for (;;) {
            const std::uint64_t size = bigEndian(boxes, 0, 4);
            if (size < 8 || boxes.size() < 8) return {};
            const bool found = std::equal(wanted.begin(), wanted.end(), boxes.begin() + 4);
            const auto within = boxes.first(std::min<std::uint64_t>(size, boxes.size()));
            boxes = found ? within.subspan(8) : boxes.subspan(within.size());
            if (found) break;
        }
    }
    return boxes;
}
