#include "ui/model_fixture.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <array>
#include <chrono>
#include <fstream>
#include <functional>
#include <utility>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using SystemAudio = AppStateModel::SystemAudio;

class AppStateModelTest : public ModelFixture {
  protected:
    void SetUp() override {
        ModelFixture::SetUp();
        QObject::connect(&*m_model, &AppStateModel::levelsChanged, [this] { m_told.push_back("levels"); });
        QObject::connect(&*m_model, &AppStateModel::elapsedChanged, [this] { m_told.push_back("elapsed"); });
        QObject::connect(&*m_model, &AppStateModel::micsChanged, [this] { m_told.push_back("mics"); });
        QObject::connect(&*m_model, &AppStateModel::changed, [this] { m_told.push_back("changed"); });
    }
    /// What the model tells in one turn of the event loop.
    Lines turn() {
        m_told.clear();
        QCoreApplication::sendPostedEvents();
        return m_told;
    }

    Lines m_told;
};

// --- telling

TEST_F(AppStateModelTest, EachFieldIsToldByItsGroup) {
    m_state->micLevel = 0.5F;
    EXPECT_THAT(turn(), ElementsAre("levels"));
    m_state->outputLevel = 0.5F;
    EXPECT_THAT(turn(), ElementsAre("levels"));
    m_state->elapsed = 2;
    EXPECT_THAT(turn(), ElementsAre("elapsed"));
    m_state->mics = {};
    EXPECT_THAT(turn(), ElementsAre("mics"));
    for (const auto& assign : std::vector<std::function<void()>>{
             [this] { m_state->selectedMicID = std::nullopt; }, [this] { m_state->isRecording = true; },
             [this] { m_state->isStarting = true; }, [this] { m_state->lastRecording = std::nullopt; },
             [this] { m_state->status = "text"; }, [this] { m_state->lastDuration = "00:01"; },
             [this] { m_state->isTranscribing = true; }, [this] { m_state->transcribeEnabled = true; },
             [this] { m_state->systemAudioGranted = true; }}) {
        assign();
        EXPECT_THAT(turn(), ElementsAre("changed"));
    }
}

TEST_F(AppStateModelTest, AHundredLevelReportsAreToldOnce) {
    for (int i = 0; i < 100; ++i) m_state->micLevel = static_cast<float>(i) / 100;
    EXPECT_THAT(turn(), ElementsAre("levels"));
    EXPECT_FLOAT_EQ(m_model->micLevel(), 0.99F);
    EXPECT_THAT(turn(), IsEmpty());
}

/// A hundred reports come between two frames, and the loudest one is neither the first nor the last.
TEST_F(AppStateModelTest, APeakThatComesAndGoesBetweenTwoTellingsIsTold) {
    std::vector<std::pair<float, float>> told;
    QObject::connect(&*m_model, &AppStateModel::levelsChanged,
                     [&] { told.emplace_back(m_model->micLevel(), m_model->outputLevel()); });
    m_state->micLevel = 0.125F;
    m_state->micLevel = 0.875F;
    m_state->outputLevel = 0.75F;
    m_state->micLevel = 0.5F;
    m_state->outputLevel = 0.25F;
    runEventLoop();
    EXPECT_THAT(told, ElementsAre(std::pair(0.875F, 0.75F), std::pair(0.5F, 0.25F)))
        << "the peak, then what is left of it";
}

TEST_F(AppStateModelTest, ALevelThatHasBeenToldIsNoPeakOfTheNextTelling) {
    m_state->micLevel = 1;
    runEventLoop();
    std::vector<float> told;
    QObject::connect(&*m_model, &AppStateModel::levelsChanged, [&] { told.push_back(m_model->micLevel()); });
    m_state->micLevel = 0.25F;
    m_state->micLevel = 0.5F;
    m_state->micLevel = 0;
    runEventLoop();
    EXPECT_THAT(told, ElementsAre(0.5F, 0.0F));
}

TEST_F(AppStateModelTest, AfterThePauseAPeakIsFollowedByTheLevelOfNow) {
    m_model.emplace(*m_state, m_workspace);
    std::vector<float> told;
    QObject::connect(&*m_model, &AppStateModel::levelsChanged, [&] { told.push_back(m_model->micLevel()); });
    m_state->micLevel = 1;
    m_state->micLevel = 0;
    while (told.empty() || told.back() != 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_THAT(told, ElementsAre(1.0F, 0.0F));
}

TEST_F(AppStateModelTest, LevelsAreToldAtMostTwentyFiveTimesASecondAndTheLastOneAlways) {
    m_model.emplace(*m_state, m_workspace);
    std::vector<float> told;
    QObject::connect(&*m_model, &AppStateModel::levelsChanged, [&] { told.push_back(m_model->micLevel()); });
    QElapsedTimer time;
    time.start();
    for (int report = 1; report <= 50; ++report) {
        m_state->micLevel = static_cast<float>(report) / 50;
        m_state->status = "another thing that is told at once";
        QCoreApplication::processEvents();
    }
    EXPECT_LE(static_cast<qint64>(told.size()), 2 + time.elapsed() / AppStateModel::betweenLevels.count());
    while (told.back() != 1) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

TEST_F(AppStateModelTest, AnOperationIsToldOnceItIsWhole) {
    m_state->toggleRecording();
    EXPECT_THAT(m_told, IsEmpty());
    turn();
    EXPECT_TRUE(m_model->isStarting());
}

TEST_F(AppStateModelTest, AnEqualAssignmentIsToldToo) {
    m_state->status = std::string(m_state->status);
    EXPECT_THAT(turn(), ElementsAre("changed"));
}

TEST_F(AppStateModelTest, WhatAListenerChangesIsToldInTheNextTurn) {
    const auto once = QObject::connect(&*m_model, &AppStateModel::levelsChanged, [this] {
        m_state->status = "too loud";
        m_state->elapsed = 1;
    });
    m_state->micLevel = 1;
    QCoreApplication::sendPostedEvents(&*m_model, QEvent::MetaCall);
    QObject::disconnect(once);
    EXPECT_THAT(m_told, Contains("levels"));
    QCoreApplication::sendPostedEvents();
    EXPECT_THAT(m_told, ElementsAre("levels", "elapsed", "changed"));
}

TEST_F(AppStateModelTest, AfterTheModelTheStateGoesOnAlone) {
    m_state->micLevel = 1;
    m_model.reset();
    m_state->micLevel = 0.5F;
    EXPECT_THAT(turn(), IsEmpty());
}

// --- values

TEST_F(AppStateModelTest, MicrophonesAreListedInTheirOrder) {
    m_devices.mics = {{"b", "Zweites"}, {"a", "Erstes – Ä"}};
    m_state->refreshMics();
    ASSERT_EQ(m_model->mics().size(), 2);
    EXPECT_EQ(m_model->mics()[0].toMap()["id"].toString(), "b");
    EXPECT_EQ(m_model->mics()[1].toMap()["name"].toString(), QStringLiteral("Erstes – Ä"));
}

TEST_F(AppStateModelTest, NoSelectionIsAnEmptyText) {
    m_model->setSelectedMicID("headset");
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    EXPECT_EQ(m_model->selectedMicID(), "headset");
    m_model->setSelectedMicID("");
    EXPECT_EQ(m_state->selectedMicID.get(), std::nullopt);
    EXPECT_EQ(m_model->selectedMicID(), "");
}

TEST_F(AppStateModelTest, SystemAudioIsUnknownOrWorksOrIsSilent) {
    EXPECT_EQ(m_model->systemAudio(), SystemAudio::Unknown);
    m_state->systemAudioGranted = true;
    EXPECT_EQ(m_model->systemAudio(), SystemAudio::Works);
    m_state->systemAudioGranted = false;
    EXPECT_EQ(m_model->systemAudio(), SystemAudio::Silent);
}

TEST_F(AppStateModelTest, TheMicrophonesPermissionIsReadAgainWhenTheDesktopHasAnswered) {
    m_authorization.current = MicStatus::notDetermined;
    m_model->reread();
    turn();
    EXPECT_FALSE(m_model->micGranted());
    m_model->requestMic();
    m_authorization.answer(MicStatus::authorized);
    show();
    EXPECT_TRUE(m_model->micGranted());
}

TEST_F(AppStateModelTest, OnlyAnAuthorizedMicrophoneIsGranted) {
    for (const MicStatus status : {MicStatus::notDetermined, MicStatus::restricted, MicStatus::denied}) {
        m_authorization.current = status;
        m_model->reread();
        turn();
        EXPECT_FALSE(m_model->micGranted());
    }
}

TEST_F(AppStateModelTest, ATranscriptIsThereFromTheRedrawAfterItHasBeenWritten) {
    m_state->transcribeEnabled = true;
    record();
    m_state->toggleRecording();
    const std::filesystem::path folder = m_state->lastRecording.get()->mix.parent_path();
    turn();
    EXPECT_FALSE(m_model->hasTranscript());
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "transcript.txt") << "You: Hello";
    EXPECT_FALSE(m_model->hasTranscript());
    show(); // the transcription ends
    EXPECT_TRUE(m_model->hasTranscript());

    m_model->openTranscript();
    EXPECT_THAT(m_workspace.opened, ElementsAre(folder / "transcript.txt"));
    std::filesystem::remove(folder / "transcript.txt");
    m_model->reread();
    turn();
    EXPECT_FALSE(m_model->hasTranscript());
    m_model->openTranscript();
    EXPECT_EQ(m_workspace.opened.size(), 1U);
}

// --- the panel

TEST_F(AppStateModelTest, AnAppearingPanelShowsTheMicrophonesOfNowAndTheirLevels) {
    m_devices.mics.push_back({"new", "New Mic"});
    m_model->panelAppeared();
    EXPECT_EQ(m_model->mics().size(), 3);
    show();
    EXPECT_THAT(calls(), ElementsAre("start preview"));
    m_journal.clear();
    m_model->panelDisappeared();
    EXPECT_THAT(calls(), ElementsAre("stop preview"));
}

TEST_F(AppStateModelTest, DuringARecordingAnAppearingPanelCallsNothing) {
    record();
    forgetThePast();
    m_devices.mics.push_back({"new", "New Mic"});
    m_model->panelAppeared();
    show();
    EXPECT_EQ(m_model->mics().size(), 2);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppStateModelTest, ADisappearingPanelLeavesTheRecordingAlone) {
    m_model->panelAppeared();
    show();
    FakeCaptureEngine& engine = record();
    report(engine, 0.5F, 0.25F);
    m_model->panelDisappeared();
    EXPECT_TRUE(engine.running);
    EXPECT_FLOAT_EQ(m_model->micLevel(), 0.5F);
}

TEST_F(AppStateModelTest, AnAppearingPanelLooksForTheTranscriptAgain) {
    record();
    m_state->toggleRecording();
    show();
    const std::filesystem::path folder = m_state->lastRecording.get()->mix.parent_path();
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "transcript.txt") << "You: Hello";
    m_model->panelAppeared();
    turn();
    EXPECT_TRUE(m_model->hasTranscript());
}

class ShownPanel : public AppStateModelTest {
  protected:
    void SetUp() override {
        AppStateModelTest::SetUp();
        m_model->panelAppeared();
        show();
        m_journal.clear();
    }
    void select(const char* id) {
        m_model->setSelectedMicID(id);
        show();
        const Lines all = calls();
        m_previewCalls.clear();
        std::copy_if(all.begin(), all.end(), std::back_inserter(m_previewCalls),
                     [](const std::string& call) { return call.ends_with("preview"); });
    }

    Lines m_previewCalls;
};

TEST_F(ShownPanel, AnotherMicrophoneRestartsThePreviewOnce) {
    select("headset");
    EXPECT_THAT(m_previewCalls, ElementsAre("stop preview", "start preview"));
    EXPECT_EQ(m_engines.last().mic.id, "headset");
}

TEST_F(ShownPanel, TheSameMicrophoneDoesNotRestartThePreview) {
    select("desk");
    EXPECT_THAT(m_previewCalls, IsEmpty());
}

TEST_F(ShownPanel, ThereAndBackWithinOneTurnDoesNotRestartThePreview) {
    m_model->setSelectedMicID("headset");
    select("desk");
    EXPECT_THAT(m_previewCalls, IsEmpty());
}

TEST_F(ShownPanel, DuringARecordingAnotherMicrophoneDoesNotStartAPreview) {
    record();
    m_journal.clear();
    select("headset");
    EXPECT_THAT(m_previewCalls, IsEmpty());
}

TEST_F(ShownPanel, WhileHiddenAnotherMicrophoneDoesNotStartAPreview) {
    m_model->panelDisappeared();
    m_journal.clear();
    select("headset");
    EXPECT_THAT(m_previewCalls, IsEmpty());
}

TEST_F(ShownPanel, AMicrophoneChosenWhileHiddenIsNotTakenForAChangeAtTheNextAppearance) {
    m_model->panelDisappeared();
    select("headset");
    m_journal.clear();
    m_model->panelAppeared();
    show();
    EXPECT_THAT(calls(), ElementsAre("start preview"));
    EXPECT_EQ(m_engines.last().mic.id, "headset");
}

/// A preview that was still starting when the panel closed has installed itself since.
TEST_F(ShownPanel, AMicrophoneReplacedAtTheAppearanceIsTheOneThatIsHeard) {
    m_model->panelDisappeared();
    m_state->startPreview();
    m_model->panelDisappeared();
    settle();
    ASSERT_EQ(m_engines.previewsRunning(), 1);
    m_devices.mics = {{"headset", "Headset"}};
    m_model->panelAppeared();
    show();
    EXPECT_EQ(m_engines.previewsRunning(), 1);
    EXPECT_EQ(m_engines.last().mic.id, "headset");
}

// --- the end

TEST_F(AppStateModelTest, QuittingStopsTheEnginesBeforeItAsksForTheEnd) {
    record();
    m_journal.clear();
    Lines atTheEnd;
    QObject::connect(&*m_model, &AppStateModel::quitRequested, [&] { atTheEnd = calls(); });
    m_model->quit();
    EXPECT_THAT(atTheEnd, ElementsAre("stop recording"));
}

TEST_F(AppStateModelTest, QuittingAsksForTheEndOnlyOnceTheFilesAreClosed) {
    record();
    m_jobs.takeLonger = true;
    int asked = 0;
    QObject::connect(&*m_model, &AppStateModel::quitRequested, [&] { ++asked; });
    m_model->quit();
    runEventLoop();
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(m_model->status(), "Saving…");
    settle();
    EXPECT_EQ(asked, 1);
}

TEST_F(AppStateModelTest, AModelThatIsGoneAsksForNothing) {
    record();
    m_jobs.takeLonger = true;
    m_model->quit();
    m_model.reset();
    settle();
    EXPECT_TRUE(m_engines.last().stopped);
}

} // namespace
