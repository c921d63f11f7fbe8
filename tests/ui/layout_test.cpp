#include "ui/ui_fixture.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <cmath>
#include <fstream>

namespace {

/// Where everything is and how large, in logical pixels, at the ordinary text size.
class Layout : public UiFixture {
  protected:
    /// The panel with all that it can show.
    void openFullPanel() {
        m_state->lastRecording = Recorder::Result{m_log.home() / "mix.m4a", {}, {}};
        m_state->lastDuration = "12:34";
        std::ofstream(m_log.home() / "transcript.txt") << "You: Hello";
        m_state->status =
            "The microphone could not be opened. Check that no other application is using it exclusively.";
        openPanel();
    }
    /// The window with all its buttons.
    void openFullOnboarding() {
        m_authorization.current = MicStatus::denied;
        m_model->reread();
        m_state->systemAudioGranted = false;
        openOnboarding();
    }

    std::vector<QQuickItem*> shownTexts() const {
        const QObject* const view = m_panel ? static_cast<QObject*>(m_panel) : m_window;
        std::vector<QQuickItem*> texts;
        for (QQuickItem* const each : view->findChildren<QQuickItem*>())
            if (each->isVisible() && each->inherits("QQuickText")) texts.push_back(each);
        return texts;
    }
    /// The item of that name, or the first text that begins like this.
    QQuickItem& at(const std::string& nameOrText) const {
        const QObject* const view = m_panel ? static_cast<QObject*>(m_panel) : m_window;
        if (auto* const named = view->findChild<QQuickItem*>(QString::fromStdString(nameOrText)))
            return *named;
        for (QQuickItem* const each : shownTexts())
            if (textOf(*each).starts_with(nameOrText)) return *each;
        throw std::runtime_error("nothing is called, and nothing says, " + nameOrText);
    }
    /// In the coordinates of the panel or of the onboarding view, which is as large as it.
    QRectF place(const QQuickItem& shown) const {
        const QQuickItem& view = m_panel ? *m_panel : item("onboardingView");
        return shown.mapRectToItem(&view, QRectF(QPointF(), shown.size()));
    }
    QRectF place(const std::string& nameOrText) const { return place(at(nameOrText)); }
    QRectF placeOfTextIn(const char* button) const {
        for (const QQuickItem* const each : item(button).findChildren<QQuickItem*>())
            if (each->inherits("QQuickText")) return place(*each);
        throw std::runtime_error(std::string("no text in ") + button);
    }
    /// The smallest rectangle around all in the item's place that is not what a card looks like.
    QRect drawnIn(const char* name) {
        const QImage image = m_window->grabWindow();
        const QRect frame = place(name).toAlignedRect();
        const QColor card = image.pixelColor(place("lastRecordingCard").topLeft().toPoint() + QPoint(10, 3));
        QRect drawn;
        for (int y = frame.top(); y <= frame.bottom(); ++y)
            for (int x = frame.left(); x <= frame.right(); ++x)
                if (image.pixelColor(x, y) != card) drawn |= QRect(x, y, 1, 1);
        return drawn.translated(-frame.topLeft());
    }
};

// --- fonts

struct FontOf {
    const char* text;
    int pixels;
    QFont::Weight weight;
};

class Fonts : public Layout {
  protected:
    void expect(const std::vector<FontOf>& table) const {
        for (const FontOf& expected : table) {
            const auto font = at(expected.text).property("font").value<QFont>();
            EXPECT_EQ(font.pixelSize(), expected.pixels) << expected.text;
            EXPECT_EQ(font.weight(), expected.weight) << expected.text;
        }
    }
    void expectLinesOfTheFontsHeight() const {
        for (const QQuickItem* const each : shownTexts()) {
            const QFontMetricsF metrics(each->property("font").value<QFont>());
            const double height =
                each->property("contentHeight").toDouble() / each->property("lineCount").toInt();
            EXPECT_NEAR(height, std::ceil(metrics.height()), 1) << textOf(*each);
        }
    }
};

TEST_F(Fonts, OfThePanel) {
    openFullPanel();
    expect({
        {"Murmelo", 18, QFont::Bold},
        {"recordButton", 13, QFont::Medium},
        {"Input", 11, QFont::Medium},
        {"Desk Mic", 13, QFont::Normal},
        {"Whatever you hear", 13, QFont::Normal},
        {"Transcript", 13, QFont::Medium}, // the switch's: it comes before the button's
        {"Quick on-device transcript", 11, QFont::Normal},
        {"Saved · 12:34", 11, QFont::Normal},
        {"transcriptButton", 12, QFont::Normal},
        {"folderButton", 12, QFont::Normal},
        {"statusLine", 11, QFont::Normal},
        {"permissionsButton", 12, QFont::Normal},
        {"quitButton", 12, QFont::Normal},
    });
    record();
    runEventLoop();
    expect({{"Stop", 13, QFont::Medium}, {"elapsed", 13, QFont::Medium}});
}

TEST_F(Fonts, OfTheFirstRunWindow) {
    openFullOnboarding();
    expect({
        {"Record what you hear and say", 17, QFont::Bold},
        {"explanation", 13, QFont::Normal},
        {"Microphone", 13, QFont::Medium},
        {"So your voice", 11, QFont::Normal},
        {"System Audio", 13, QFont::Medium},
        {"So everything", 11, QFont::Normal},
        {"grantMic", 13, QFont::Normal},
        {"grantSystemAudio", 13, QFont::Normal},
        {"settings", 11, QFont::Normal},
        {"done", 13, QFont::Medium},
    });
}

TEST_F(Fonts, LinesOfThePanelAreAsHighAsTheirFont) {
    openFullPanel();
    ASSERT_EQ(item("statusLine").property("lineCount").toInt(), 2);
    expectLinesOfTheFontsHeight();
}

TEST_F(Fonts, LinesOfTheFirstRunWindowAreAsHighAsTheirFont) {
    openFullOnboarding();
    ASSERT_EQ(item("explanation").property("lineCount").toInt(), 2);
    expectLinesOfTheFontsHeight();
}

// --- sizes and edges

struct PlaceOf {
    const char* what;
    double left;
    double width; // 0: whatever its texts need, as for the height
    double height;
};

class Places : public Layout {
  protected:
    void expect(const std::vector<PlaceOf>& table) const {
        for (const PlaceOf& expected : table) {
            const QRectF found = place(expected.what);
            EXPECT_EQ(found.left(), expected.left) << expected.what;
            EXPECT_EQ(expected.width > 0 ? found.width() : 0, expected.width) << expected.what;
            EXPECT_EQ(expected.height > 0 ? found.height() : 0, expected.height) << expected.what;
        }
    }
};

TEST_F(Places, OnThePanel) {
    openFullPanel();
    EXPECT_EQ(m_panel->width(), 320);
    expect({
        {"title", 14, 292, 0}, // 12 of the panel, 2 of its own
        {"recordButton", 12, 296, 32},
        {"inputCard", 12, 296, 0},
        {"Input", 22, 0, 0}, // 10 inside the card
        {"micRow", 22, 276, 0},
        {"micPicker", 46, 252, 0}, // beside 16 of icon and a gap of 8
        {"micMeter", 46, 252, 4},
        {"Whatever you hear", 48, 250, 0}, // 2 further in
        {"outputMeter", 46, 252, 4},
        {"transcribeCard", 12, 296, 0},
        {"transcriptSwitch", 22, 276, 0},
        {"Quick on-device transcript", 22, 276, 0},
        {"lastRecordingCard", 12, 296, 0},
        {"savedSymbol", 22, 16, 16},
        {"lastRecordingText", 46, 0, 0},
        {"statusLine", 14, 292, 0},
    });
    EXPECT_EQ(placeOfTextIn("permissionsButton").left(), 14);
    EXPECT_EQ(place("quitButton").right(), 306) << "2 from the cards' edge";
}

TEST_F(Places, InTheFirstRunWindow) {
    openFullOnboarding();
    expect({
        {"onboardingView", 0, 460, 300},
        {"Record what you hear and say", 24, 412, 0},
        {"explanation", 24, 412, 0},
        {"micRow", 24, 412, 0},
        {"systemRow", 24, 412, 0},
    });
    EXPECT_EQ(place("grantMic").right(), 436);
    EXPECT_EQ(place("settings").right(), 436);
    EXPECT_EQ(place("done").right(), 436);
    EXPECT_EQ(place("done").bottom(), 276);
}

TEST_F(Places, WhatStandsAtTheEndOfACardOrOfTheFooterEndsInOneLine) {
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QGuiApplication::setLayoutDirection(direction);
        openFullPanel();
        const auto end = [&](const QRectF& place) {
            return direction == Qt::LeftToRight ? place.right() : 320 - place.left();
        };
        EXPECT_EQ(end(place("micPicker")), 298);
        EXPECT_EQ(end(place("micMeter")), 298);
        EXPECT_EQ(end(place(*item("transcriptSwitch").findChild<QQuickItem*>("switchTrack"))), 298);
        EXPECT_EQ(end(placeOfTextIn("folderButton")), 298);
        EXPECT_EQ(end(placeOfTextIn("quitButton")), 298);
        closePanel();
    }
}

TEST_F(Places, TheSpinnerIsAsLargeAsTheCheckThatTakesItsPlace) {
    openFullPanel();
    const QRectF check = place("savedSymbol");
    const double text = place("lastRecordingText").left();
    const QRect drawnCheck = drawnIn("savedSymbol");
    m_state->isTranscribing = true;
    runEventLoop();
    EXPECT_EQ(place("transcribingSpinner"), check);
    EXPECT_EQ(place("lastRecordingText").left(), text);
    const QRect drawnSpinner = drawnIn("transcribingSpinner");
    EXPECT_LE((drawnSpinner.topLeft() - drawnCheck.topLeft()).manhattanLength(), 1);
    EXPECT_LE((drawnSpinner.bottomRight() - drawnCheck.bottomRight()).manhattanLength(), 1);
}

// --- gaps

struct GapBetween {
    const char* first;
    const char* second;
    double pixels;
};

class Gaps : public Layout {
  protected:
    void expectBelow(const std::vector<GapBetween>& table) const {
        for (const GapBetween& gap : table)
            EXPECT_EQ(place(gap.second).top() - place(gap.first).bottom(), gap.pixels)
                << gap.second << " below " << gap.first;
    }
    void expectBeside(const std::vector<GapBetween>& table) const {
        for (const GapBetween& gap : table)
            EXPECT_EQ(place(gap.second).left() - place(gap.first).right(), gap.pixels)
                << gap.second << " beside " << gap.first;
    }
    double top(const char* what) const { return place(what).top(); }
    double bottom(const char* what) const { return place(what).bottom(); }
};

TEST_F(Gaps, OnThePanel) {
    openFullPanel();
    EXPECT_EQ(top("title"), 12);
    EXPECT_EQ(m_panel->height() - bottom("quitButton"), 12);
    EXPECT_EQ(top("quitButton"), top("permissionsButton"));
    expectBelow({
        {"title", "recordButton", 10},
        {"recordButton", "inputCard", 10},
        {"inputCard", "transcribeCard", 10},
        {"transcribeCard", "lastRecordingCard", 10},
        {"lastRecordingCard", "statusLine", 10},
        {"statusLine", "permissionsButton", 10},
    });
}

TEST_F(Gaps, InsideTheCards) {
    openFullPanel();
    EXPECT_EQ(top("Input") - top("inputCard"), 10);
    EXPECT_EQ(bottom("inputCard") - bottom("outputMeter"), 10);
    EXPECT_EQ(top("transcriptSwitch") - top("transcribeCard"), 10);
    EXPECT_EQ(bottom("transcribeCard") - bottom("Quick on-device transcript"), 10);
    EXPECT_EQ(top("folderButton") - top("lastRecordingCard"), 10);
    EXPECT_EQ(bottom("lastRecordingCard") - bottom("folderButton"), 10);
    expectBelow({
        {"Input", "micRow", 10},
        {"micRow", "micMeter", 4},
        {"micMeter", "Whatever you hear", 10},
        {"Whatever you hear", "outputMeter", 4},
        {"transcriptSwitch", "Quick on-device transcript", 4},
    });
    expectBeside({
        {"savedSymbol", "lastRecordingText", 8},
        {"transcriptButton", "folderButton", 8},
    });
}

TEST_F(Gaps, InTheRecordButton) {
    openPanel();
    record();
    runEventLoop();
    expectBeside({{"recordSymbol", "Stop", 8}, {"Stop", "elapsed", 8}});
    const double middle = (place("recordSymbol").left() + place("elapsed").right()) / 2;
    EXPECT_NEAR(middle, 160, 0.5);
}

TEST_F(Gaps, InTheFirstRunWindow) {
    openFullOnboarding();
    EXPECT_EQ(top("Record what you hear and say"), 24);
    expectBelow({
        {"Record what you hear and say", "explanation", 4},
        {"explanation", "micRow", 18},
        {"micRow", "systemRow", 18},
        {"Microphone", "So your voice", 2},
        {"System Audio", "So everything", 2},
    });
    expectBeside({{"grantSystemAudio", "settings", 10}});
    EXPECT_EQ(place("Microphone").left(), 24 + 22 + 10) << "beside the number";
}

} // namespace
