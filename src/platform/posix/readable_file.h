#pragma once

#include <cstdint>
#include <span>

/// A file that is read at chosen places. Throws Error "posix".
class ReadableFile {
  public:
    virtual ~ReadableFile() = default;
    virtual std::uint64_t size() const = 0;
    /// Fills the bytes from that place on; false when the file ends before.
    virtual bool read(std::span<std::uint8_t> bytes, std::uint64_t at) const = 0;
};
