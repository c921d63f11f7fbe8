#include "base/error.h"
#include "ui/ui_fixture.h"

#include <QFont>
#include <QImage>
#include <QProcess>
#include <QtQml/qqml.h>
#include <algorithm>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Panel : public UiFixture {
  protected:
    /// Records and stops; the files are there, the transcript is not.
    std::filesystem::path makeARecording() {
        record();
        m_main.advance(754s);
        m_state->toggleRecording();
        std::filesystem::path folder = m_state->lastRecording.get()->mix.parent_path();
        std::filesystem::create_directories(folder);
        runEventLoop();
        return folder;
    }
    double panelHeight() const { return m_panel->implicitHeight(); }
    QObject& popup() const { return *item("micPicker").property("popup").value<QObject*>(); }
    QPoint centreOf(const char* name) const {
        const QQuickItem& target = item(name);
        return target.mapToScene({target.width() / 2, target.height() / 2}).toPoint();
    }
    bool popupIsOpen() const { return popup().property("opened").toBool(); }
};

// --- appearing and disappearing

TEST_F(Panel, ShowsLevelsWhileItIsOnTheScreen) {
    openPanel();
    EXPECT_THAT(calls(), ElementsAre("start preview"));
    closePanel();
    EXPECT_THAT(calls(), ElementsAre("start preview", "stop preview"));
    openPanel();
    EXPECT_THAT(calls(), ElementsAre("start preview", "stop preview", "start preview"));
}

TEST_F(Panel, MadeButNotShownItCallsNothing) {
    m_panel = m_views.makePanel(*m_model);
    show();
    EXPECT_THAT(calls(), IsEmpty());
}

/// They take longer to load than the panel to be drawn. A process never forgets them: this one needs its own.
TEST_F(Panel, LoadsTheControlsOfQtOnlyForTheListOfMicrophones) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1) {
        EXPECT_EQ(QProcess::execute(QCoreApplication::applicationFilePath(),
                                    {"--gtest_filter=Panel.LoadsTheControlsOfQtOnlyForTheListOfMicrophones"}),
                  0);
        return;
    }
    const auto areLoaded = [] { return qmlTypeId("QtQuick.Templates", 2, 15, "Popup") != -1; };
    openOnboarding();
    openPanel();
    makeARecording();
    EXPECT_FALSE(areLoaded());
    EXPECT_TRUE(item("micPicker").property("popup").isNull());
    m_state->lastRecording = std::nullopt;
    runEventLoop();
    click("micPicker");
    EXPECT_TRUE(areLoaded());
}

TEST_F(Panel, OpenedDuringARecordingItStartsNoPreview) {
    record();
    m_journal.clear();
    openPanel();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Panel, ListsTheMicrophonesThatAreThereWhenItOpens) {
    openPanel();
    EXPECT_EQ(item("micPicker").property("count").toInt(), 2);
    closePanel();
    m_devices.mics.push_back({"new", "New Mic"});
    openPanel();
    EXPECT_EQ(item("micPicker").property("count").toInt(), 3);
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "Desk Mic");
}

// --- the record button

TEST_F(Panel, TheRecordButtonStartsAndStopsWithTheTime) {
    openPanel();
    EXPECT_EQ(text("recordButton"), "Start Recording");
    EXPECT_EQ(item("recordSymbol").property("name").toString(), "record-circle");
    EXPECT_FALSE(isVisible("elapsed"));

    click("recordButton");
    EXPECT_EQ(text("recordButton"), "Starting…");
    EXPECT_EQ(item("recordSymbol").property("name").toString(), "record-circle");

    show();
    EXPECT_EQ(text("recordButton"), "Stop");
    EXPECT_EQ(item("recordSymbol").property("name").toString(), "stop-fill");
    EXPECT_TRUE(isVisible("elapsed"));
    m_main.advance(3725s);
    runEventLoop();
    EXPECT_EQ(text("elapsed"), "62:05");

    click("recordButton");
    EXPECT_FALSE(m_state->isRecording);
    EXPECT_EQ(text("recordButton"), "Start Recording");
}

TEST_F(Panel, TheRecordButtonIsRedWhileRecording) {
    openPanel();
    EXPECT_EQ(item("recordButton").property("tint"), theme().property("accent"));
    click("recordButton");
    EXPECT_EQ(item("recordButton").property("tint"), theme().property("accent"));
    show();
    EXPECT_EQ(item("recordButton").property("tint"), theme().property("red"));
}

TEST_F(Panel, WithoutASelectedMicrophoneNothingCanBeStarted) {
    openPanel();
    EXPECT_TRUE(isEnabled("recordButton"));
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    EXPECT_FALSE(isEnabled("recordButton"));
}

TEST_F(Panel, ARecordingCanBeStoppedAlsoWithoutASelectedMicrophone) {
    openPanel();
    record();
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    EXPECT_TRUE(isEnabled("recordButton"));
    click("recordButton");
    EXPECT_FALSE(m_state->isRecording);
}

TEST_F(Panel, WhileStartingNeitherButtonNorMicrophoneCanBeUsed) {
    openPanel();
    click("recordButton");
    ASSERT_TRUE(m_state->isStarting);
    EXPECT_FALSE(isEnabled("recordButton"));
    EXPECT_FALSE(isEnabled("micRow"));
    EXPECT_FALSE(isEnabled("micPicker"));
}

TEST_F(Panel, TheElapsedTimeKeepsItsWidthAsSecondsTick) {
    openPanel();
    record();
    const auto widthAt = [this](double seconds) {
        m_state->elapsed = seconds;
        runEventLoop();
        EXPECT_EQ(text("elapsed"), m_state->elapsedString());
        return item("elapsed").width();
    };
    const double width = widthAt(71); // 01:11, of narrow digits
    EXPECT_GT(width, 0);
    for (const int seconds : {0, 8, 9, 500, 1428, 2508, 3599}) EXPECT_EQ(widthAt(seconds), width) << seconds;
}

TEST_F(Panel, APressThatIsReleasedElsewhereClicksNothing) {
    openPanel();
    const QPoint outside(2, 2);
    for (const char* const name : {"recordButton", "transcriptSwitch", "micPicker"}) {
        QTest::mousePress(m_window, Qt::LeftButton, {}, centreOf(name));
        EXPECT_TRUE(item(name).property("down").toBool()) << name;
        QTest::mouseMove(m_window, outside);
        EXPECT_FALSE(item(name).property("down").toBool()) << name;
        QTest::mouseRelease(m_window, Qt::LeftButton, {}, outside);
        runEventLoop();
        EXPECT_FALSE(item(name).property("down").toBool()) << name;
        EXPECT_EQ(keyboardIsAt(), name);
    }
    EXPECT_FALSE(m_state->isStarting);
    EXPECT_FALSE(m_state->transcribeEnabled);
    EXPECT_TRUE(item("micPicker").property("popup").isNull());
}

TEST_F(Panel, APressThatComesBackClicks) {
    openPanel();
    QTest::mousePress(m_window, Qt::LeftButton, {}, centreOf("recordButton"));
    QTest::mouseMove(m_window, QPoint(2, 2));
    QTest::mouseMove(m_window, centreOf("recordButton"));
    QTest::mouseRelease(m_window, Qt::LeftButton, {}, centreOf("recordButton"));
    EXPECT_TRUE(m_state->isStarting);
}

TEST_F(Panel, OnlyTheLeftButtonClicks) {
    openPanel();
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton})
        QTest::mouseClick(m_window, button, {}, centreOf("recordButton"));
    EXPECT_FALSE(m_state->isStarting);
}

TEST_F(Panel, WhatIsDisabledTakesNeitherClickNorKeyboard) {
    openPanel();
    click("transcriptSwitch");
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    click("recordButton");
    EXPECT_FALSE(m_state->isStarting);
    EXPECT_EQ(keyboardIsAt(), "transcriptSwitch");
}

TEST_F(Panel, TheMouseShowsWhatItIsAbove) {
    openPanel();
    QTest::mouseMove(m_window, centreOf("quitButton"));
    runEventLoop();
    EXPECT_TRUE(item("quitButton").property("hovered").toBool());
    QTest::mouseMove(m_window, centreOf("permissionsButton"));
    runEventLoop();
    EXPECT_FALSE(item("quitButton").property("hovered").toBool());
    EXPECT_TRUE(item("permissionsButton").property("hovered").toBool());
}

/// Each state of a control has a colour of its own, where neither text nor knob is.
TEST_F(Panel, PickerAndSwitchShowThatTheyArePointedAtPressedAndDisabled) {
    openPanel();
    const auto looks = [this](const char* name, const QPoint& spot) {
        const QPoint away(2, 2);
        const QPoint pixel = item(name).mapToScene(spot).toPoint();
        const auto look = [&] {
            runEventLoop();
            return m_window->grabWindow().pixelColor(pixel).rgb();
        };
        QTest::mouseMove(m_window, away);
        std::vector<QRgb> found{look()};
        QTest::mouseMove(m_window, centreOf(name));
        found.push_back(look());
        QTest::mousePress(m_window, Qt::LeftButton, {}, centreOf(name));
        found.push_back(look());
        QTest::mouseMove(m_window, away);
        QTest::mouseRelease(m_window, Qt::LeftButton, {}, away);
        QTest::mouseMove(m_window, away + QPoint(1, 0));
        EXPECT_EQ(look(), found[0]) << name;
        item(name).setEnabled(false);
        found.push_back(look());
        item(name).setEnabled(true);
        return found;
    };
    const auto areDistinct = [](std::vector<QRgb> found) {
        std::sort(found.begin(), found.end());
        return std::adjacent_find(found.begin(), found.end()) == found.end();
    };
    const QPoint besideTheKnob(static_cast<int>(item("transcriptSwitch").width()) - 6, 9);
    for (const bool dark : {false, true}) {
        theme().setProperty("dark", dark);
        EXPECT_TRUE(areDistinct(looks("micPicker", {200, 4}))) << dark;
        EXPECT_TRUE(areDistinct(looks("transcriptSwitch", besideTheKnob))) << dark;
    }
}

// --- the microphone

TEST_F(Panel, TheMicrophoneCannotBeChangedDuringARecording) {
    openPanel();
    EXPECT_TRUE(isEnabled("micPicker"));
    record();
    runEventLoop();
    EXPECT_FALSE(isEnabled("micRow"));
    EXPECT_FALSE(isEnabled("micPicker"));
    m_state->toggleRecording();
    runEventLoop();
    EXPECT_TRUE(isEnabled("micPicker"));
}

TEST_F(Panel, AChosenMicrophoneIsSelectedAndHeard) {
    openPanel();
    m_journal.clear();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    auto* const list = popup().property("contentItem").value<QQuickItem*>();
    QTest::mouseClick(m_window, Qt::LeftButton, {}, list->mapToScene({30, 10}).toPoint()); // the first
    show();
    EXPECT_EQ(m_state->selectedMicID.get(), "headset");
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "Headset");
    EXPECT_THAT(calls(), ElementsAre("store micID=headset", "stop preview", "start preview"));
}

TEST_F(Panel, TheSameMicrophoneChosenAgainDoesNotRestartThePreview) {
    openPanel();
    m_journal.clear();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    press(Qt::Key_Return);
    show();
    EXPECT_THAT(calls(), ElementsAre("store micID=desk"));
}

TEST_F(Panel, ThePickerFollowsTheState) {
    openPanel();
    m_state->selectedMicID = "headset";
    runEventLoop();
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "Headset");
    m_state->selectedMicID = "unplugged";
    runEventLoop();
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "");
    m_state->selectedMicID = std::nullopt;
    runEventLoop();
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "");
}

TEST_F(Panel, WithoutMicrophonesThePickerSaysSoAndOpensNothing) {
    m_devices.mics = {};
    openPanel();
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "No microphone");
    EXPECT_FALSE(isEnabled("micPicker"));
    click("micPicker");
    QMetaObject::invokeMethod(&item("micPicker"), "open"); // as a screen reader might
    EXPECT_TRUE(item("micPicker").property("popup").isNull());
    closePanel();
    m_devices.mics = {{"new", "New Mic"}};
    openPanel();
    EXPECT_EQ(item("micPicker").property("displayText").toString(), "New Mic");
    EXPECT_TRUE(isEnabled("micPicker"));
}

TEST_F(Panel, AnOpenListClosesWithTheLastMicrophone) {
    openPanel();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    m_state->mics = {};
    runEventLoop();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
}

TEST_F(Panel, AnOpenListClosesWhenARecordingStarts) {
    openPanel();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    record();
    runEventLoop();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
}

TEST_F(Panel, AnOpenListDoesNotComeBackWithThePanel) {
    openPanel();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    closePanel();
    openPanel();
    EXPECT_FALSE(popupIsOpen());
}

TEST_F(Panel, TheListFollowsTheMouseAndTheSelection) {
    openPanel();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    EXPECT_EQ(item("micPicker").property("highlightedIndex").toInt(), 1);
    auto* const list = popup().property("contentItem").value<QQuickItem*>();
    QTest::mouseMove(m_window, list->mapToScene({30, 10}).toPoint());
    runEventLoop();
    EXPECT_EQ(item("micPicker").property("highlightedIndex").toInt(), 0);
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
}

TEST_F(Panel, AClickElsewhereClosesTheList) {
    openPanel();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    click("title");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    click("micPicker");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !popupIsOpen(); }));
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
}

TEST_F(Panel, TheOpenListCoversWhatIsBelowItAlsoWithItsBorder) {
    for (const bool dark : {false, true}) {
        theme().setProperty("dark", dark);
        openPanel();
        click("micPicker");
        ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
        const auto listWithMeters = [this](float level) {
            m_state->micLevel = level;
            m_state->outputLevel = level;
            runEventLoop();
            auto* const list = popup().property("background").value<QQuickItem*>();
            QRect place = list->mapRectToScene(QRectF(QPointF(), list->size())).toRect();
            const int corner = 8; // round: there one sees past it
            EXPECT_TRUE(place.intersects(item("micMeter").mapRectToScene({0, 0, 252, 4}).toRect()));
            return m_window->grabWindow().copy(place.adjusted(corner, 0, -corner, 0));
        };
        EXPECT_EQ(listWithMeters(0), listWithMeters(1)) << dark;
        click("micPicker");
    }
}

TEST_F(Panel, TheOpenListCastsAShadow) {
    openPanel();
    QTest::mouseMove(m_window, QPoint(2, 2));
    runEventLoop();
    const QImage before = m_window->grabWindow();
    click("micPicker");
    ASSERT_TRUE(QTest::qWaitFor([this] { return popupIsOpen(); }));
    runEventLoop();
    auto* const list = popup().property("background").value<QQuickItem*>();
    const QRect place = list->mapRectToScene(QRectF(QPointF(), list->size())).toRect();
    const QImage after = m_window->grabWindow();
    const auto darkening = [&](const QPoint& at) { return qGray(before.pixel(at)) - qGray(after.pixel(at)); };
    const QPoint below(place.left() + 30, place.bottom() + 1);
    EXPECT_GT(darkening(below), darkening(below + QPoint(0, 3))) << "it fades";
    EXPECT_GT(darkening(below + QPoint(0, 3)), 0);
    EXPECT_EQ(darkening(below + QPoint(0, 12)), 0) << "and ends";
    EXPECT_GT(darkening({place.left() - 1, place.center().y()}), 0);
    EXPECT_GT(darkening({place.right() + 1, place.center().y()}), 0);
}

// --- the transcript's switch

TEST_F(Panel, TheSwitchAndTheStateFollowEachOther) {
    openPanel();
    EXPECT_FALSE(item("transcriptSwitch").property("checked").toBool());
    click("transcriptSwitch");
    EXPECT_TRUE(m_state->transcribeEnabled);
    click("transcriptSwitch");
    EXPECT_FALSE(m_state->transcribeEnabled);
    m_state->transcribeEnabled = true;
    runEventLoop();
    EXPECT_TRUE(item("transcriptSwitch").property("checked").toBool());
}

TEST_F(Panel, TheSwitchCanBeUsedDuringARecording) {
    openPanel();
    record();
    runEventLoop();
    click("transcriptSwitch");
    EXPECT_TRUE(m_state->transcribeEnabled);
}

// --- the last recording

TEST_F(Panel, WithoutARecordingThereIsNoCardForIt) {
    openPanel();
    EXPECT_FALSE(isVisible("lastRecordingCard"));
    const double before = panelHeight();
    makeARecording();
    EXPECT_TRUE(isVisible("lastRecordingCard"));
    EXPECT_GT(panelHeight(), before + 10);
    m_state->lastRecording = std::nullopt;
    runEventLoop();
    EXPECT_FALSE(isVisible("lastRecordingCard"));
    EXPECT_EQ(panelHeight(), before);
}

TEST_F(Panel, ARecordingIsSavedWithItsLength) {
    openPanel();
    makeARecording();
    EXPECT_EQ(text("lastRecordingText"), "Saved · 12:34");
    EXPECT_TRUE(isVisible("savedSymbol"));
    EXPECT_FALSE(isVisible("transcribingSpinner"));
    EXPECT_FALSE(isVisible("transcriptButton"));
    EXPECT_TRUE(isVisible("folderButton"));
}

TEST_F(Panel, WhileTranscribingASpinnerTurnsAndOnlyTheFolderCanBeOpened) {
    m_state->transcribeEnabled = true;
    openPanel();
    makeARecording();
    EXPECT_EQ(text("lastRecordingText"), "Transcribing…");
    EXPECT_TRUE(isVisible("transcribingSpinner"));
    EXPECT_FALSE(isVisible("savedSymbol"));
    EXPECT_FALSE(isVisible("transcriptButton"));
    EXPECT_TRUE(isVisible("folderButton"));
}

TEST_F(Panel, AFinishedTranscriptCanBeOpened) {
    m_state->transcribeEnabled = true;
    openPanel();
    const std::filesystem::path folder = makeARecording();
    std::ofstream(folder / "transcript.txt") << "You: Hello";
    show(); // the transcription ends
    EXPECT_EQ(text("lastRecordingText"), "Saved · 12:34");
    ASSERT_TRUE(isVisible("transcriptButton"));
    click("transcriptButton");
    EXPECT_THAT(m_workspace.opened, ElementsAre(folder / "transcript.txt"));
}

TEST_F(Panel, AFailedTranscriptionIsToldAndCannotBeOpened) {
    m_state->transcribeEnabled = true;
    m_transcriptionFails = [] { throw Error{"transcriber", 1, "No speech."}; };
    openPanel();
    makeARecording();
    show();
    EXPECT_FALSE(isVisible("transcriptButton"));
    EXPECT_EQ(text("statusLine"), "Transcription failed: No speech.");
}

TEST_F(Panel, FolderShowsTheRecordingsFolder) {
    openPanel();
    const std::filesystem::path folder = makeARecording();
    EXPECT_EQ(text("folderButton"), "Folder");
    click("folderButton");
    EXPECT_THAT(m_workspace.opened, ElementsAre(folder));
}

// --- the status line and the rest

TEST_F(Panel, WithoutAStatusThereIsNoLineAndNoGap) {
    openPanel();
    EXPECT_FALSE(isVisible("statusLine"));
    const double before = panelHeight();
    m_state->status = "The microphone could not be opened.";
    runEventLoop();
    EXPECT_TRUE(isVisible("statusLine"));
    EXPECT_EQ(text("statusLine"), "The microphone could not be opened.");
    EXPECT_GT(panelHeight(), before + 10);
    m_state->status = "";
    runEventLoop();
    EXPECT_FALSE(isVisible("statusLine"));
    EXPECT_EQ(panelHeight(), before);
}

TEST_F(Panel, StaysAsWideAsItIsWhateverTheTextsSay) {
    m_devices.mics = {
        {"desk", "A Microphone Whose Maker Has Given It a Name That Is Far Too Long to Be Shown"}};
    openPanel();
    makeARecording();
    const double before = panelHeight();
    m_state->status = "Transcription failed: " + std::string(300, 'x') + " and more than one line of text";
    runEventLoop();
    EXPECT_EQ(m_panel->implicitWidth(), 320);
    EXPECT_EQ(m_panel->width(), 320);
    EXPECT_LE(item("statusLine").mapToScene({item("statusLine").width(), 0}).x(), 308);
    EXPECT_GT(panelHeight(), before + 40); // it wraps
    EXPECT_EQ(item("micPicker").width(), 252);
}

TEST_F(Panel, AStatusIsShownAsItIs) {
    openPanel();
    m_state->status = "<b>bold</b> & http://localhost";
    runEventLoop();
    EXPECT_EQ(item("statusLine").property("textFormat").toInt(), 0); // Text.PlainText
}

TEST_F(Panel, PermissionsOpensTheirWindow) {
    openPanel();
    m_journal.clear();
    click("permissionsButton");
    EXPECT_THAT(calls(), ElementsAre("show in task bar", "activate", "make window", "window to front"));
}

TEST_F(Panel, WhatIsBeingSavedIsShownAsRecordingThatCannotBeStoppedAgain) {
    openPanel();
    click("recordButton");
    show();
    m_jobs.takeLonger = true;
    click("recordButton");
    EXPECT_EQ(text("recordButton"), "Stop");
    EXPECT_FALSE(isEnabled("recordButton"));
    EXPECT_EQ(text("statusLine"), "Saving…");
    show();
    EXPECT_EQ(text("recordButton"), "Start Recording");
    EXPECT_TRUE(isEnabled("recordButton"));
    EXPECT_FALSE(isVisible("statusLine"));
}

TEST_F(Panel, QuitStopsTheEnginesFirst) {
    openPanel();
    m_journal.clear();
    Lines atTheEnd;
    QObject::connect(&*m_model, &AppStateModel::quitRequested, [&] { atTheEnd = calls(); });
    click("quitButton");
    EXPECT_THAT(atTheEnd, testing::Contains("stop preview"));
}

TEST_F(Panel, SpeaksInTheseWords) {
    openPanel();
    std::vector<std::string> texts;
    for (const QQuickItem* const each : m_panel->findChildren<QQuickItem*>())
        if (each->isVisible() && each->inherits("QQuickText")) texts.push_back(textOf(*each));
    const char* const explanation =
        "Quick on-device transcript with speaker labels. For higher quality, open "
        "the audio in any transcription app.";
    for (const char* const expected :
         {"Murmelo", "Start Recording", "Input", "Desk Mic", "Whatever you hear on this computer",
          "Transcript", explanation, "Permissions…", "Quit"})
        EXPECT_THAT(texts, testing::Contains(expected));
}

TEST_F(Panel, GoesWithItsModelWithoutAWord) {
    openPanel();
    const QPointer<QQuickItem> panel = m_panel;
    m_model.reset();
    EXPECT_TRUE(panel.isNull());
}

} // namespace
