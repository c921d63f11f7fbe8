#pragma once

#include "platform/media/ffmpeg_handles.h"
#include "platform/posix/file_handle.h"

#include <cstdint>

/// Lets FFmpeg read a descriptor that we opened: no path is ever taken for an address, and the system's own
/// error number survives. Used by one thread at a time.
class DescriptorIo {
  public:
    explicit DescriptorIo(FileHandle file);

    /// For AVFormatContext::pb. Valid as long as this object.
    AVIOContext* context() const { return m_context.get(); }
    /// The first errno that a read met; 0 while all is well. FFmpeg reports some errors late and some not at
    /// all, so this is what counts.
    int error() const { return m_state->error; }

  private:
    /// Has a fixed place in memory: FFmpeg keeps a pointer to it.
    struct State {
        FileHandle file;
        int error = 0;

        int read(std::uint8_t* bytes, int size) noexcept;
        std::int64_t seek(std::int64_t offset, int whence) noexcept;
        int failed() noexcept;
    };

    std::unique_ptr<State> m_state;
    IoContextHandle m_context; // last: it points to the state
};
