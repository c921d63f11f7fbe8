#pragma once

#include "app/recorder_engine.h"
#include "base/program_part.h"
#include "base/thread_queue.h"
#include "capture/capture_check.h"
#include "late_files.h"
#include "late_module.h"
#include "models/model_downloads.h"
#include "models/models_folder.h"
#include "platform/desktop/logind_sleep_guard.h"
#include "platform/desktop/network_manager.h"
#include "platform/media/recorded_length.h"
#include "platform/pipewire/connection.h"
#include "platform/pipewire/pipewire_devices.h"
#include "platform/pipewire/pipewire_mic_source.h"
#include "platform/pipewire/pipewire_tone_player.h"
#include "platform/pipewire/process_tap.h"
#include "platform/posix/recording_mark.h"
#include "platform/speech/model_engine.h"
#include "platform/speech/sherpa_worker.h"
#include "platform/speech/worker_engine.h"
#include "platform/speech/worker_file_info.h"
#include "transcription/transcriber.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>

/// The real backends, put together for whoever uses them: subcommands and the application.

inline std::unique_ptr<SerialQueue> makeThreadQueue(std::string label) {
    return std::make_unique<ThreadQueue>(std::move(label));
}

inline void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

inline std::filesystem::path executableFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// Sound: one connection to the server for all that capture or list devices.
struct Sound {
    Sound(LateModule& late, Notices& noticesOfRecordings, RecordingMark& markOfRecordings)
        : notices(noticesOfRecordings), recordingMark(markOfRecordings),
          files(late, [this](const std::string& sentence) { notices.tell(sentence); }) {}

    std::unique_ptr<CaptureEngine> makeEngine(SerialQueue& timers) {
        return std::make_unique<RecorderEngine>(
            RecorderServices{mics, systemAudio, files, notices, makeThreadQueue, timers, sleepFor},
            std::make_unique<LogindSleepGuard>(), [this] { return recordingMark.hold(); });
    }
    CaptureCheck captureCheck() { return CaptureCheck({systemAudio, tones, makeThreadQueue, sleepFor}); }

    Notices& notices;
    RecordingMark& recordingMark;
    PipeWireConnection connection;
    PipeWireDevices devices{connection};
    PipeWireMicSourceFactory mics{connection};
    ProcessTapFactory systemAudio{connection};
    PipeWireTonePlayerFactory tones{connection};
    LateFiles files;
};

inline std::unique_ptr<ModelStore> makeModels(LateModule& late) {
    return late.backends().makeModels(programPart(executableFolder(), "share/murmelo/models.json"),
                                      modelsFolder());
}

/// Blocks the thread; a stop request ends it.
inline void sleepUntilStopped(std::chrono::milliseconds time, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait_for(lock, stop, time, [] { return false; });
}

inline DownloadConditions downloadConditions(const RecordingMark& recordings) {
    return {.isMetered = isConnectionMetered,
            .isRecording = [&recordings] { return recordings.isHeld(); },
            .now = [] { return std::chrono::steady_clock::now().time_since_epoch(); },
            .sleep = sleepUntilStopped};
}

/// Recognition of speech.
struct Speech {
    /// Who follows the downloads of models.
    struct Audience {
        ModelEngine::DownloadListener waiting = {}; ///< while a transcription waits for one
        ModelDownloads::Observer always = {};
    };

    /// Throws Error when its backends cannot be loaded.
    Speech(LateModule& late, SerialQueue& timers, const RecordingMark& recordings, Audience audience)
        : models(makeModels(late)),
          downloads(*models, downloadConditions(recordings), std::move(audience.always)),
          engine(*models, downloads, sherpaWorker(executableFolder()), builtIn, std::move(audience.waiting)),
          transcriber(engine, audioFiles, timers, &Locale::current) {}

    std::unique_ptr<ModelStore> models;
    ModelDownloads downloads;
    WorkerEngine builtIn{workerProgram(executableFolder(), "murmelo-speech-pocketsphinx"),
                         MURMELO_SPEECH_MODEL};
    WorkerFileInfo audioFiles{workerProgram(executableFolder(), "murmelo-audio-length"), recordedLength};
    ModelEngine engine;
    Transcriber transcriber;
};
