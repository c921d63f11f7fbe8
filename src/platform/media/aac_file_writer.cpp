#include "platform/media/aac_file_writer.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "platform/media/aac_encoder.h"
#include "platform/media/mp4_file.h"

#include <cerrno>
#include <optional>
#include <string>
#include <utility>

namespace {

class AacFileWriter final : public AudioFileWriter {
  public:
    explicit AacFileWriter(const std::filesystem::path& path)
        : m_name(path.filename()), m_file(path, m_encoder.stream()),
          m_toFile([this](const AacPacket& packet) { m_file.append(packet); }) {}
    ~AacFileWriter() override { close(); }
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
            throw;
        }
    }

  private:
    void close() noexcept {
        try {
            if (m_failure) return; // told already; the descriptor closes with m_file
            m_encoder.finish(m_toFile);
            m_file.finish();
        } catch (const std::exception& error) {
            DebugLog::log("[rec] closing " + m_name.string() + " failed: " + error.what());
        }
    }

    const std::filesystem::path m_name;
    AacEncoder m_encoder;
    Mp4File m_file;
    const AacEncoder::Sink m_toFile;
    std::optional<Error> m_failure; // of the first write that failed
};

} // namespace

std::unique_ptr<AudioFileWriter> AacFileWriterFactory::create(const std::filesystem::path& file,
                                                              const AudioFileSettings& settings) {
    if (settings.sampleRate != AacEncoder::sampleRate || settings.channels != AacEncoder::channels ||
        settings.bitRate != AacEncoder::bitRate)
        throw Error("posix", EINVAL,
                    "Only AAC at 48000 Hz with 2 channels and 128000 bit/s can be recorded.");
    return std::make_unique<AacFileWriter>(file);
}
