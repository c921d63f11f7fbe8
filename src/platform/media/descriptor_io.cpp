#include "platform/media/descriptor_io.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

DescriptorIo::DescriptorIo(FileHandle file) : m_state(std::make_unique<State>(State{std::move(file)})) {
    constexpr int bufferSize = 32768;
    struct BufferDeleter {
        void operator()(void* memory) const noexcept { av_free(memory); }
    };
    auto buffer = allocated<std::unique_ptr<unsigned char, BufferDeleter>>(
        static_cast<unsigned char*>(av_malloc(bufferSize)));
    m_context = allocated<IoContextHandle>(avio_alloc_context(
        buffer.get(), bufferSize, 0, m_state.get(),
        [](void* state, std::uint8_t* bytes, int size) {
            return static_cast<State*>(state)->read(bytes, size);
        },
        nullptr,
        [](void* state, std::int64_t offset, int whence) {
            return static_cast<State*>(state)->seek(offset, whence);
        }));
    static_cast<void>(buffer.release()); // owned by the context
}

int DescriptorIo::State::read(std::uint8_t* bytes, int size) noexcept {
    for (;;) {
        const ssize_t count = ::read(file.get(), bytes, static_cast<std::size_t>(size));
        if (count > 0) return static_cast<int>(count);
        if (count == 0) return AVERROR_EOF;
        if (errno != EINTR) return failed();
    }
}

std::int64_t DescriptorIo::State::seek(std::int64_t offset, int whence) noexcept {
    if (whence == AVSEEK_SIZE) {
        struct stat facts{};
        return ::fstat(file.get(), &facts) == 0 ? facts.st_size : failed();
    }
    // No failure of the disk: a damaged index may ask for any place.
    const off_t place = ::lseek(file.get(), offset, whence & ~AVSEEK_FORCE);
    return place >= 0 ? place : AVERROR(errno);
}

int DescriptorIo::State::failed() noexcept {
    const int now = errno != 0 ? errno : EIO;
    if (error == 0) error = now;
    return AVERROR(now);
}
