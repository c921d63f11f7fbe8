#include "platform/media/aac_file_writer.h"

#include "base/error.h"
#include "platform/media/aac_encoder.h"
#include "platform/media/mp4_track_writer.h"

#include <cerrno>
#include <optional>
#include <utility>

namespace {

class AacFileWriter final : public AudioFileWriter {
  public:
    AacFileWriter(FileCalls& calls, SyncThread& disk, WriteTroubles& troubles,
                  const std::filesystem::path& path)
        : m_troubles(troubles), m_path(path), m_file(calls, disk, path, m_encoder.stream()),
          m_toFile([this](const AacPacket& packet) { m_file.append(packet); }) {}
    ~AacFileWriter() override {
        if (m_failure) return; // closed already
        orTell([this] { m_encoder.finish(m_toFile); });
        orTell([this] { m_file.finish(); });
    }
    AacFileWriter(const AacFileWriter&) = delete;
    AacFileWriter& operator=(const AacFileWriter&) = delete;

    AudioFormat processingFormat() const override { return {AacEncoder::sampleRate, AacEncoder::channels}; }

    void write(std::span<const float> left, std::span<const float> right) override {
        if (m_failure) throw Error(*m_failure);
        if (left.size() != right.size()) throw Error::posix(EINVAL);
        try {
            m_encoder.encode(left, right, m_toFile);
        } catch (const Error& error) {
            m_failure = error;
            m_troubles.fileEnded(m_path, error, m_file.storedFrames());
            orTell([this] { m_file.finish(); });
            throw;
        }
    }

  private:
    /// The file is closed as well as it can be, whatever happens on the way.
    template <typename Step>
    void orTell(const Step& step) noexcept {
        try {
            step();
        } catch (const Error& error) {
            m_troubles.closingFailed(m_path, error);
        } catch (const std::bad_alloc&) {
            m_troubles.closingFailed(m_path, Error::posix(ENOMEM));
        }
    }

    WriteTroubles& m_troubles;
    const std::filesystem::path m_path;
    AacEncoder m_encoder;
    Mp4TrackWriter m_file;
    const AacEncoder::Sink m_toFile;
    std::optional<Error> m_failure; // of the write that ended the file
};

} // namespace

AacFileWriterFactory::AacFileWriterFactory(WriteTroubles::Notice notice, FileCalls& calls)
    : m_calls(calls), m_troubles(std::move(notice)),
      m_disk([this](const std::filesystem::path& file, const Error& error) {
          m_troubles.notOnDisk(file, error);
      }) {}

std::unique_ptr<AudioFileWriter> AacFileWriterFactory::create(const std::filesystem::path& file,
                                                              const AudioFileSettings& settings) {
    if (settings.sampleRate != AacEncoder::sampleRate || settings.channels != AacEncoder::channels ||
        settings.bitRate != AacEncoder::bitRate)
        throw Error("posix", EINVAL,
                    "Only AAC at 48000 Hz with 2 channels and 128000 bit/s can be recorded.");
    return std::make_unique<AacFileWriter>(m_calls, m_disk, m_troubles, file);
}
