// Records until SIGTERM, with the real sources, into files of bare 32-bit floats (the left channel).
//
//   raw_recorder FOLDER MICROPHONE
//
// The folder gets the three recordings under their names and what the user was told, as "notices".

#include "base/thread_queue.h"
#include "capture/aligned_recorder.h"
#include "platform/pipewire/pipewire_mic_source.h"
#include "platform/pipewire/process_tap.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

namespace {

class RawFiles final : public AudioFileWriterFactory {
  public:
    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path,
                                            const AudioFileSettings& /*settings*/) override {
        return std::make_unique<Writer>(path);
    }

  private:
    class Writer final : public AudioFileWriter {
      public:
        explicit Writer(const std::filesystem::path& path) : m_file(path, std::ios::binary) {}
        AudioFormat processingFormat() const override { return {48000.0, 2}; }
        void write(std::span<const float> left, std::span<const float> /*right*/) override {
            m_file.write(reinterpret_cast<const char*>(left.data()),
                         static_cast<std::streamsize>(left.size_bytes()));
            m_file.flush();
        }
        std::uint64_t storedFrames() const override { return 0; }
        std::future<bool> bringToDisk() override { return {}; } // nobody asks

      private:
        std::ofstream m_file;
    };
};

class NoticesFile final : public Notices {
  public:
    explicit NoticesFile(const std::filesystem::path& path) : m_file(path) {}
    void tell(const std::string& sentence) override {
        const std::lock_guard lock(m_mutex);
        m_file << sentence << std::endl;
    }

  private:
    std::mutex m_mutex;
    std::ofstream m_file;
};

} // namespace

int main(int count, char** arguments) {
    if (count < 3) return EXIT_FAILURE;
    const std::filesystem::path folder = arguments[1];
    const MicChoice mic{arguments[2], "Test Microphone"};
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &end, nullptr); // before the first thread

    PipeWireConnection connection;
    PipeWireMicSourceFactory mics(connection);
    ProcessTapFactory systemAudio(connection);
    RawFiles files;
    NoticesFile notices(folder / "notices");
    ThreadQueue timers("timers");
    AlignedRecorder aligned(
        {mics, systemAudio, files, notices,
         [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); }, timers,
         [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }},
        {mic.name, &notices});
    if (!aligned.recorder.start(mic, folder)) return EXIT_FAILURE;
    int signal = 0;
    sigwait(&end, &signal);
    aligned.recorder.stop();
    return EXIT_SUCCESS;
}
