#include "speech_worker/recogniser.h"

#include "speech_worker/utterance_text.h"
#include "speech_worker/voice_activity.h"

#include <utility>

std::string Recogniser::text(std::span<const RecognisedWord> words) const {
    return utteranceText(words);
}

std::unique_ptr<SpeechCutter> Recogniser::makeCutter(SpeechCutter::Handler handler) {
    return std::make_unique<VoiceActivity>(std::move(handler));
}
