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

class Fonts : public Layout {
  protected:
    void expectLinesOfTheFontsHeight() const {
        for (const QQuickItem* const each : shownTexts()) {
            const QFontMetricsF metrics(each->property("font").value<QFont>());
            const double height =
                each->property("contentHeight").toDouble() / each->property("lineCount").toInt();
            EXPECT_NEAR(height, std::ceil(metrics.height()), 1) << textOf(*each);
        }
    }
};

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

using Places = Layout;

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
        EXPECT_EQ(end(placeOfTextIn("finderButton")), 298);
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

} // namespace
