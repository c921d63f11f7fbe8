#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

/// Making and finding boxes of ISO/IEC 14496-12, whatever is in them.

/// Bytes in the making: numbers are big-endian, boxes nest.
class BoxBuffer {
  public:
    std::vector<std::uint8_t> bytes;

    void u8(std::uint64_t value) { number(value, 1); }
    void u16(std::uint64_t value) { number(value, 2); }
    void u24(std::uint64_t value) { number(value, 3); }
    void u32(std::uint64_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void zeros(std::size_t count) { bytes.insert(bytes.end(), count, 0); }
    void text(std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

    /// A box of that type around what `content` adds, with its size in front. `following` bytes that will be
    /// written behind this buffer belong to the box as well.
    template <typename Content>
    void box(std::string_view type, const Content& content, std::uint64_t following = 0) {
        const std::size_t begin = bytes.size();
        u32(0);
        text(type);
        content();
        putSize(begin, following);
    }
    /// A box with version and flags (14496-12, 4.2).
    template <typename Content>
    void fullBox(std::string_view type, unsigned version, unsigned flags, const Content& content) {
        box(type, [&] {
            u8(version);
            u24(flags);
            content();
        });
    }

    /// The number in so many bytes.
    void number(std::uint64_t value, std::size_t size);

  private:
    void putSize(std::size_t begin, std::uint64_t following);
};

/// The number in so many bytes, at most eight, from that place on; 0 when they are not all there.
std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count);
/// What is inside a box, which is found by the types of the boxes around it and its own; as much of it as is
/// there, so nothing when it is missing. Full boxes begin with their version and flags.
std::span<const std::uint8_t> contentOfBox(std::span<const std::uint8_t> boxes,
                                           std::initializer_list<std::string_view> path);
