#include "platform/media/aac_file_writer.h"

#include "base/error.h"
#include "platform/media/aac_encoder.h"
#include "platform/media/mp4_track_writer.h"
#include "platform/posix/sync_thread.h"

#include <cerrno>
#include <optional>
#include <type_traits>
#include <utility>

/// What the files have in common. The sync thread holds no reference to it: it would be the last to let go
/// one day and wait for itself.
struct AacFileWriterFactory::Storage {
    Storage(WriteTroubles::Notice notice, FileCalls& fileCalls)
        : calls(fileCalls), troubles(std::move(notice)),
          disk([this](const std::filesystem::path& file, const Error& error) {
              troubles.notOnDisk(file, error);
          }) {}

    FileCalls& calls;
    WriteTroubles troubles;
    SyncThread disk; // last: it uses the above
};

class AacFileWriterFactory::File final : public AudioFileWriter {
  public:
    File(std::shared_ptr<Storage> storage, const std::filesystem::path& path)
        : m_storage(std::move(storage)), m_path(path),
          m_file(m_storage->calls, m_storage->disk, path, m_encoder.stream()),
          m_toFile([this](const AacPacket& packet) { m_file.append(packet); }) {}
    ~File() override {
        if (m_failure) return; // closed already
        orTell([this] { m_encoder.finish(m_toFile); });
        orTell([this] { m_file.finish(); });
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    AudioFormat processingFormat() const override { return {AacEncoder::sampleRate, AacEncoder::channels}; }

    void write(std::span<const float> left, std::span<const float> right) override {
        if (left.size() != right.size()) throw Error::posix(EINVAL);
        orEnd([&] { m_encoder.encode(left, right, m_toFile); });
    }
    std::uint64_t storedFrames() const override { return m_file.storedFrames(); }
    std::future<bool> bringToDisk() override {
        return orEnd([this] { return m_file.bringToDisk(); });
    }

  private:
    /// With the first Error the file is closed, and nothing more can be done with it.
    template <typename Step>
    std::invoke_result_t<const Step&> orEnd(const Step& step) {
        if (m_failure) throw Error(*m_failure);
        try {
            return step();
        } catch (const Error& error) {
            m_failure = error;
            m_storage->troubles.fileEnded(m_path, error, m_file.storedFrames());
            orTell([this] { m_file.finish(); });
            throw;
        }
    }
    /// The file is closed as well as it can be, whatever happens on the way.
    template <typename Step>
    void orTell(const Step& step) noexcept {
        try {
            step();
        } catch (const Error& error) {
            m_storage->troubles.closingFailed(m_path, error);
        } catch (const std::bad_alloc&) {
            m_storage->troubles.closingFailed(m_path, Error::posix(ENOMEM));
        }
    }

    const std::shared_ptr<Storage> m_storage; // first: the rest uses it
    const std::filesystem::path m_path;
    AacEncoder m_encoder;
    Mp4TrackWriter m_file;
    const AacEncoder::Sink m_toFile;
    std::optional<Error> m_failure; // of the write that ended the file
};

AacFileWriterFactory::AacFileWriterFactory(WriteTroubles::Notice notice, FileCalls& calls)
    : m_storage(std::make_shared<Storage>(std::move(notice), calls)) {}

std::unique_ptr<AudioFileWriter> AacFileWriterFactory::create(const std::filesystem::path& file,
                                                              const AudioFileSettings& settings) {
    if (settings.sampleRate != AacEncoder::sampleRate || settings.channels != AacEncoder::channels ||
        settings.bitRate != AacEncoder::bitRate)
        throw Error("posix", EINVAL,
                    "Only AAC at 48000 Hz with 2 channels and 128000 bit/s can be recorded.");
    return std::make_unique<File>(m_storage, file);
}
