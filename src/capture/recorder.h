#pragma once

#include "base/serial_queue.h"
#include "capture/audio_devices.h"
#include "capture/audio_file_writer.h"
#include "capture/mic_choice.h"
#include "capture/mic_source.h"
#include "capture/notices.h"
#include "capture/recorded_file.h"
#include "capture/system_audio_source.h"
#include "capture/system_fifo.h"
#include "capture/system_tap_session.h"
#include "capture/unsaved.h"
#include "capture/writer_backlog.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// What a recorder works with. All of it outlives the recorder.
struct RecorderServices {
    MicSourceFactory& mics;
    SystemAudioSourceFactory& systemAudio;
    AudioFileWriterFactory& files;
    /// Told what happens to a recording; nothing of a preview.
    Notices& notices;
    /// Makes a serial queue with that label.
    std::function<std::unique_ptr<SerialQueue>(std::string label)> makeQueue;
    /// Runs what must happen even when the recorder is gone by then; its now() is the clock.
    SerialQueue& timers;
    /// Blocks the calling thread.
    std::function<void(std::chrono::milliseconds)> sleep;
};

/// The capture engine: one microphone and all that the computer plays, at once, into three files or, in
/// preview, into levels only. For exactly one start and one stop.
///
/// The microphone is the clock of the recording: each of its buffers takes as many samples of system audio as
/// it holds itself and makes one block of the mix.
class Recorder {
  public:
    /// The files of one recording.
    struct Result {
        std::filesystem::path mix;
        std::filesystem::path voice;
        std::filesystem::path system;

        bool operator==(const Result&) const = default;
    };

    explicit Recorder(const RecorderServices& services);
    /// Releases what a stop has not released. Not while start or stop runs.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Hooks, set before start. They run on the engine's threads and must neither block nor call start or
    // stop.
    std::function<void(float mic, float system)> onLevels; ///< microphone queue; each level 0 to 1
    std::function<void(std::string message)> onError;      ///< the thread of start, at most once
    std::function<void()> onFirstAudio;                    ///< microphone queue, once

    /// Starts both captures, with `baseURL` into files in that folder. Blocks for up to about 8 s, so it has
    /// a thread of its own. On false everything has been released and onError has been called, unless a stop
    /// from another thread ended the start: that is no error.
    bool start(const MicChoice& mic, const std::optional<std::filesystem::path>& baseURL);
    /// Stops both captures and closes the files. Any thread but the engine's own, also while start runs.
    void stop();
    /// Brings everything captured so far to the disk, but for the last few hundredths of a second, and waits
    /// for that, at most so long. False when not all of it is there by then. Without files there is nothing
    /// to do. Any thread but the engine's own, also while start or stop runs, neither of which waits for it.
    bool bringToDisk(std::chrono::milliseconds atMost);
    /// Set once the three files exist; survives stop. Any thread; waits for a step of start or stop.
    std::optional<Result> result() const;
    /// What is not in the files or not closed yet. Any thread, at once, also while start or stop runs.
    Unsaved unsaved() const;

    /// The microphones in discovery order.
    static std::vector<MicChoice> availableMics(const AudioDevices& devices) { return devices.microphones(); }
    static std::optional<std::string> defaultMicID(const AudioDevices& devices) {
        return devices.defaultMicrophoneID();
    }

  private:
    struct Counters {
        std::atomic<std::int64_t> micCallbacks{0};
        std::atomic<std::int64_t> sysCallbacks{0};
    };

    // recorder.cpp: the life of a recording
    bool openMicrophone(const MicChoice& mic, bool preview);
    bool createFiles(const std::filesystem::path& folder);
    bool startMicrophone();
    bool waitForFirstBuffer();
    bool startSystemAudio();
    void scheduleReport();
    template <typename Acquire>
    bool unlessStopped(Acquire acquire);
    bool fail(const std::string& message);
    bool endStoppedStart();
    template <typename Release>
    void release(Release step);
    void cleanup();

    // recorder_mic_path.cpp: on micQueue
    void captureOutput(const MicBuffer& buffer);
    void writeVoiceAndMix(std::vector<float> mic, std::vector<float> mixLeft, std::vector<float> mixRight);

    // recorder_system_path.cpp: on ioQueue
    void handleSystem(AudioBufferList buffers);

    // recorder_writing.cpp
    /// micQueue and ioQueue, each with its own backlog. How many frames are missing before this block, or
    /// nothing when it has to be dropped.
    std::optional<std::size_t> admit(WriterBacklog& backlog, std::size_t frames);

    const RecorderServices m_services;

    /// Held for one acquisition or release at a time, so that stop may come while start runs; never while a
    /// hook runs or during the wait for the first buffer. Tasks of the queues never take it.
    mutable std::mutex m_lifecycle;
    bool m_stopRequested = false;         // guarded by m_lifecycle
    std::shared_ptr<MicSource> m_session; // guarded by m_lifecycle; shared with a start that waits for it
    SystemTapSession m_tap;               // guarded by m_lifecycle
    std::optional<Result> m_result;       // guarded by m_lifecycle

    RecordedFile m_voiceFile, m_systemFile, m_mixFile; // opened before the captures start
    std::atomic<bool> m_hasFiles{false};               // set once all three are there

    WriterBacklog m_micBacklog, m_systemBacklog;
    std::atomic<bool> m_fallenBehind{false}; // and said so

    SystemFifo m_sysFifo;
    std::shared_ptr<Counters> m_counters = std::make_shared<Counters>();
    std::atomic<float> m_lastSysLevel{0}; // written on both queues: a lost update shifts one level report
    bool m_firstAudioSent = false;        // micQueue only

    // Last, so that they are drained and joined before anything that their tasks use goes away.
    std::unique_ptr<SerialQueue> m_writerQueue;
    std::unique_ptr<SerialQueue> m_micQueue;
    std::unique_ptr<SerialQueue> m_ioQueue;
};
