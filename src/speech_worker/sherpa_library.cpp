#include "speech_worker/sherpa_library.h"

#include "base/error.h"
#include "speech_worker/sherpa_folder.h"

#include <dlfcn.h>
#include <string>

namespace {

Error unusable(const std::filesystem::path& file, const std::string& reason) {
    return {"engine", 1, "The speech engine " + file.string() + " " + reason + "."};
}

void* open(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) throw unusable(file, "is missing");
    void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw unusable(file, std::string("can't be loaded: ") + ::dlerror());
    return library;
}

template <class Function>
void find(Function*& function, void* library, const std::filesystem::path& file, const char* name) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    if (function == nullptr) throw unusable(file, std::string("has no ") + name);
}

} // namespace

SherpaLibrary::SherpaLibrary(const std::filesystem::path& folder) {
    // First what it is linked to, so that no other library of that name is taken for it.
    open(folder / "libonnxruntime.so");
    const std::filesystem::path file = folder / sherpaLibraryName;
    void* library = open(file);

    find(m_api.getVersionStr, library, file, "SherpaOnnxGetVersionStr");
    const std::string found = m_api.getVersionStr();
    if (found != sherpa::version)
        throw unusable(file, "is version " + found + ", but only " + sherpa::version + " will do");

    find(m_api.createOfflineRecognizer, library, file, "SherpaOnnxCreateOfflineRecognizer");
    find(m_api.destroyOfflineRecognizer, library, file, "SherpaOnnxDestroyOfflineRecognizer");
    find(m_api.createOfflineStream, library, file, "SherpaOnnxCreateOfflineStream");
    find(m_api.destroyOfflineStream, library, file, "SherpaOnnxDestroyOfflineStream");
    find(m_api.acceptWaveformOffline, library, file, "SherpaOnnxAcceptWaveformOffline");
    find(m_api.decodeOfflineStream, library, file, "SherpaOnnxDecodeOfflineStream");
    find(m_api.getOfflineStreamResult, library, file, "SherpaOnnxGetOfflineStreamResult");
    find(m_api.destroyOfflineRecognizerResult, library, file, "SherpaOnnxDestroyOfflineRecognizerResult");

    find(m_api.createVoiceActivityDetector, library, file, "SherpaOnnxCreateVoiceActivityDetector");
    find(m_api.destroyVoiceActivityDetector, library, file, "SherpaOnnxDestroyVoiceActivityDetector");
    find(m_api.voiceActivityDetectorAcceptWaveform, library, file,
         "SherpaOnnxVoiceActivityDetectorAcceptWaveform");
    find(m_api.voiceActivityDetectorEmpty, library, file, "SherpaOnnxVoiceActivityDetectorEmpty");
    find(m_api.voiceActivityDetectorDetected, library, file, "SherpaOnnxVoiceActivityDetectorDetected");
    find(m_api.voiceActivityDetectorFront, library, file, "SherpaOnnxVoiceActivityDetectorFront");
    find(m_api.voiceActivityDetectorPop, library, file, "SherpaOnnxVoiceActivityDetectorPop");
    find(m_api.destroySpeechSegment, library, file, "SherpaOnnxDestroySpeechSegment");
    find(m_api.voiceActivityDetectorFlush, library, file, "SherpaOnnxVoiceActivityDetectorFlush");
}
