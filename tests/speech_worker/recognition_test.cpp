#include "base/error.h"
#include "platform/speech/worker_engine.h"
#include "support/log_capture.h"
#include "support/process_leftovers.h"
#include "support/spoken_track.h"
#include "support/synthetic_voice.h"
#include "support/word_error_rate.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

const std::vector<std::string> sentences{
    "Can you hear me now, or is the microphone still turned off?",
    "Yes, I can hear you very well, thank you.",
    "Please send me the report before the end of the week.",
    "I think that the new version is much better than the old one.",
    "How long did it take to drive from the airport to the hotel?",
    "She said that nobody had told her about the changes.",
    "There is a small problem with the second page of the document.",
    "Let us talk about the budget first and then about the schedule.",
    "My brother lives in a little house by the sea.",
    "It was raining all day and the streets were full of water.",
};

/// The real worker with the real model.
class RecognitionTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_FALSE(hasChild()); }

    std::vector<SpeechResult> recognise(const std::vector<float>& samples, std::stop_source stop = {},
                                        bool stopAtFirst = false) {
        const std::filesystem::path file = folder / "track.m4a";
        std::filesystem::remove(file);
        record(file, samples);
        WorkerEngine engine(MURMELO_WORKER, MURMELO_MODEL);
        const auto module = engine.module(Locale("en_US"));
        EXPECT_EQ(module->installationRequest(), nullptr);
        std::vector<SpeechResult> results;
        module->collectResults([&](const SpeechResult& result) {
            results.push_back(result);
            if (stopAtFirst) stop.request_stop();
        });
        const auto lastSampleTime = module->analyse(file, stop.get_token());
        EXPECT_NEAR(lastSampleTime.value_or(-1), static_cast<double>(samples.size()) / 16000, 0.001);
        return results;
    }

    std::string heard(const std::vector<float>& samples) {
        std::string text;
        for (const SpeechResult& result : recognise(samples)) text += result.text + " ";
        return text;
    }

    LogCapture log;
    TemporaryFolder folder;
};

class VoiceRecognitionTest : public RecognitionTest, public testing::WithParamInterface<const char*> {};

TEST_P(VoiceRecognitionTest, WordsAndTheirStartsAreRightInAQuietRoom) {
    std::vector<float> track = hiss(2, 0.0003F);
    std::vector<double> onsets;
    std::string said;
    double pause = 0.8;
    for (const std::string& sentence : sentences) {
        const std::vector<float> speech = spoken(GetParam(), sentence);
        onsets.push_back(static_cast<double>(track.size()) / 16000 + onsetOf(speech));
        track = joined({track, speech, hiss(pause, 0.0003F)});
        said += sentence + " ";
        pause = pause < 5 ? pause * 1.4 : 0.8;
    }
    std::string text;
    std::vector<double> starts;
    for (const SpeechResult& result : recognise(track)) {
        text += result.text + " ";
        starts.push_back(result.start);
    }
    const double errorRate = wordErrorRate(said, text);
    RecordProperty("word_error_rate", std::to_string(errorRate));
    EXPECT_LE(errorRate, 0.15) << text;
    double worst = 0;
    for (const double onset : onsets) {
        double nearest = 1e9;
        for (const double start : starts)
            if (std::abs(start - onset) < std::abs(nearest)) nearest = start - onset;
        EXPECT_NEAR(nearest, 0, 0.3) << "sentence at " << onset;
        worst = std::max(worst, std::abs(nearest));
    }
    std::printf("%s: word error rate %.3f, worst start error %.3f s\n", GetParam(), errorRate, worst);
}

INSTANTIATE_TEST_SUITE_P(Flite, VoiceRecognitionTest, testing::Values("rms", "slt"),
                         [](const auto& voice) { return std::string(voice.param); });

/// 10 s of something that is no speech.
struct Sound {
    const char* name;
    std::vector<float> (*make)(float level);
};
void PrintTo(const Sound& sound, std::ostream* stream) {
    *stream << sound.name;
}

class NoWordTest : public RecognitionTest, public testing::WithParamInterface<Sound> {};

TEST_P(NoWordTest, NothingIsHeardInIt) {
    for (const float level : {0.003F, 0.03F, 0.3F})
        EXPECT_EQ(heard(joined({silence(2), GetParam().make(level), silence(2)})), "") << level;
}

std::vector<float> filtered(std::vector<float> noise, float pole, float gain) {
    for (std::size_t i = 1; i < noise.size(); ++i) noise[i] = pole * noise[i - 1] + gain * noise[i];
    return noise;
}

std::vector<float> pinkNoise(float level) { // three poles, within 1 dB of -3 dB an octave (Kellet's filter)
    std::vector<float> noise = hiss(10, level / 4);
    float b0 = 0;
    float b1 = 0;
    float b2 = 0;
    for (float& sample : noise) {
        b0 = 0.99765F * b0 + sample * 0.0990460F;
        b1 = 0.96300F * b1 + sample * 0.2965164F;
        b2 = 0.57000F * b2 + sample * 1.0526913F;
        sample = b0 + b1 + b2 + sample * 0.1848F;
    }
    return noise;
}

std::vector<float> sweep(float level) {
    std::vector<float> samples = silence(10);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000;
        samples[i] = level * static_cast<float>(std::sin(2 * std::numbers::pi * (100 + 150 * time) * time));
    }
    return samples;
}

std::vector<float> repeated(const std::vector<float>& sound, double pause) {
    std::vector<float> all;
    while (all.size() < 160000) all = joined({all, sound, silence(pause)});
    return all;
}

std::vector<float> square(double seconds, double hertz, float level) {
    std::vector<float> samples = sine(seconds, hertz, 1);
    for (float& sample : samples) sample = sample < 0 ? -level : level;
    return samples;
}

INSTANTIATE_TEST_SUITE_P(
    Sounds, NoWordTest,
    testing::Values(Sound{"silence", [](float) { return silence(10); }},
                    Sound{"white_noise", [](float level) { return hiss(10, level); }},
                    Sound{"pink_noise", pinkNoise},
                    Sound{"brown_noise", [](float level) { return filtered(hiss(10, level), 0.98F, 0.1F); }},
                    Sound{"noise_bursts", [](float level) { return repeated(hiss(0.5, level), 0.5); }},
                    Sound{"low_tone", [](float level) { return sine(10, 220, level); }},
                    Sound{"high_tone", [](float level) { return sine(10, 3000, level); }},
                    Sound{"sweep", sweep},
                    Sound{"beeps", [](float level) { return repeated(sine(0.3, 1000, level), 0.35); }},
                    Sound{"alarm", [](float level) { return repeated(square(0.3, 440, level), 0.35); }}),
    [](const auto& sound) { return std::string(sound.param.name); });

TEST_F(RecognitionTest, AStopWhileItRecognisesLeavesNothing) {
    const std::size_t descriptors = openDescriptors();
    const std::vector<float> sentence = spoken("rms", sentences[1]);
    std::vector<float> track;
    for (int i = 0; i < 12; ++i) track = joined({track, silence(1), sentence});
    try {
        recognise(track, std::stop_source(), true);
        ADD_FAILURE() << "not stopped";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::stopped));
    }
    EXPECT_FALSE(hasChild());
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(RecognitionTest, AFileThatIsNoAudioIsAClearError) {
    writeFile(folder / "track.m4a", "no audio");
    WorkerEngine engine(MURMELO_WORKER, MURMELO_MODEL);
    try {
        engine.module(Locale("en_US"))->analyse(folder / "track.m4a", {});
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(EngineFailure::reported));
        EXPECT_FALSE(error.localizedDescription().empty());
    }
}

TEST_F(RecognitionTest, ADamagedModelIsAnError) {
    std::filesystem::copy(MURMELO_MODEL, folder / "model", std::filesystem::copy_options::recursive);
    writeFile(folder / "model/en-us/mdef", "rubbish");
    record(folder / "track.m4a", silence(1));
    WorkerEngine engine(MURMELO_WORKER, folder / "model");
    EXPECT_THROW(engine.module(Locale("en_US"))->analyse(folder / "track.m4a", {}), Error);
}

} // namespace
