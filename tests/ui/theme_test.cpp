#include "ui/ui_fixture.h"

#include <QColor>
#include <QImage>
#include <QQmlContext>
#include <QQmlExpression>
#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

/// Relative luminance and contrast as WCAG 2.1 defines them.
double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}
double contrast(const QColor& one, const QColor& other) {
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}
/// What one sees of a colour, seen through or not, on an opaque one.
QColor on(const QColor& below, const QColor& above, double opacity = 1) {
    const double a = above.alphaF() * opacity;
    return QColor::fromRgbF(static_cast<float>(above.redF() * a + below.redF() * (1 - a)),
                            static_cast<float>(above.greenF() * a + below.greenF() * (1 - a)),
                            static_cast<float>(above.blueF() * a + below.blueF() * (1 - a)));
}

class ThemeTest : public UiFixture {
  protected:
    QColor colour(const char* name) { return theme().property(name).value<QColor>(); }
    struct Look {
        bool dark;
        bool highContrast;
        const char* accent;
    };
    /// Each with accent colours from white to black.
    static std::vector<Look> looks() {
        std::vector<Look> all;
        for (const bool dark : {false, true})
            for (const bool highContrast : {false, true})
                for (const char* const accent :
                     {"#1c71d8", "#ffffff", "#f5c211", "#33d17a", "#e62d42", "#000000"})
                    all.push_back({dark, highContrast, accent});
        return all;
    }
    double number(const char* name) { return theme().property(name).toDouble(); }
    /// As QML gets it: through the meta-object a function's colour arrives invalid.
    QColor changed(const char* how, const QColor& tint) {
        const QString call = QStringLiteral("%1(\"%2\")").arg(QLatin1String(how), tint.name());
        const auto result = QQmlExpression(qmlContext(&theme()), &theme(), call).evaluate().value<QColor>();
        EXPECT_TRUE(result.isValid()) << call.toStdString();
        return result;
    }
};

TEST_F(ThemeTest, EveryTextCanBeReadOnWhatItStandsOnWhateverTheAccentColour) {
    for (const auto& [dark, highContrast, accent] : looks()) {
        theme().setProperty("dark", dark);
        theme().setProperty("highContrast", highContrast);
        theme().setProperty("desktopAccent", QColor(accent));
        const QColor window = colour("window");
        const QColor card = on(window, colour("quaternary"), number("cardOpacity"));
        const std::vector<std::tuple<const char*, QColor, QColor>> pairs = {
            {"title", window, colour("primary")},
            {"status line", window, colour("secondary")},
            {"footer", window, colour("tertiary")},
            {"footer under the mouse", on(window, colour("quaternary")), colour("primary")},
            {"text on a card", card, colour("primary")},
            {"caption on a card", card, colour("secondary")},
            {"link", card, colour("link")},
            {"link under the mouse", on(card, colour("quaternary")), colour("primary")},
            {"picker", on(card, colour("control")), colour("primary")},
            {"pressed picker", on(card, colour("controlDown")), colour("primary")},
            {"button", colour("control"), colour("primary")},
            {"button under the mouse", colour("controlHovered"), colour("primary")},
            {"pressed button", colour("controlDown"), colour("primary")},
            {"list", colour("menu"), colour("primary")},
            {"chosen in the list", colour("accent"), colour("accentText")},
            {"record button", colour("accent"), colour("accentText")},
            {"record button under the mouse", changed("hovered", colour("accent")), colour("accentText")},
            {"pressed record button", changed("pressed", colour("accent")), colour("accentText")},
            {"stop button", colour("red"), colour("accentText")},
            {"elapsed time", colour("red"),
             on(colour("red"), colour("accentText"), number("elapsedOpacity"))},
        };
        for (const auto& [what, below, above] : pairs)
            EXPECT_GE(contrast(below, on(below, above)), highContrast ? 7 : 4.5)
                << what << (dark ? ", dark" : ", light") << (highContrast ? ", high contrast, " : ", ")
                << accent;
    }
}

TEST_F(ThemeTest, AnAccentColourOnWhichWhiteCanBeReadIsTakenAsItIs) {
    for (const char* const accent : {"#1c71d8", "#813d9c", "#000000"}) {
        theme().setProperty("desktopAccent", QColor(accent));
        EXPECT_EQ(colour("accent"), QColor(accent));
    }
}

TEST_F(ThemeTest, WhereContrastIsToBeHighControlsHaveOutlines) {
    theme().setProperty("highContrast", true);
    for (const bool dark : {false, true}) {
        theme().setProperty("dark", dark);
        const QColor card = colour("card");
        for (const char* const line : {"border", "controlBorder"})
            for (const QColor& below : {colour("window"), card})
                EXPECT_GE(contrast(below, on(below, colour(line))), 4.5) << line << dark;
        EXPECT_GE(contrast(card, on(card, colour("secondary"))), 7) << dark; // symbols
    }
}

TEST_F(ThemeTest, WhatIsNoTextCanBeSeen) {
    for (const auto& [dark, highContrast, accent] : looks()) {
        theme().setProperty("dark", dark);
        theme().setProperty("highContrast", highContrast);
        theme().setProperty("desktopAccent", QColor(accent));
        const QColor card = on(colour("window"), colour("quaternary"), number("cardOpacity"));
        EXPECT_GE(contrast(colour("window"), colour("focus")), 3) << dark;
        EXPECT_GE(contrast(card, colour("focus")), 3) << dark;
        EXPECT_GE(contrast(card, on(card, colour("secondary"))), 3) << dark; // symbols
    }
}

TEST_F(ThemeTest, SwitchPickerAndMetersCanBeSeenInEveryState) {
    for (const bool dark : {false, true})
        for (const bool highContrast : {false, true}) {
            theme().setProperty("dark", dark);
            theme().setProperty("highContrast", highContrast);
            const QColor card = on(colour("window"), colour("quaternary"), number("cardOpacity"));
            const QColor track = on(card, colour("quaternary"));
            const QColor off = colour("switchOff");
            const QColor knob = Qt::white;
            const QColor accent = colour("accent");
            const std::vector<std::tuple<const char*, QColor, QColor>> pairs = {
                {"the picker's outline", card, colour("controlOutline")},
                {"the ends of a meter", card, colour("controlOutline")},
                {"the microphone's level beside what is empty", track, colour("green")},
                {"the microphone's full meter", card, colour("green")},
                {"the system's level beside what is empty", track, colour("blue")},
                {"the system's full meter", card, colour("blue")},
                {"a switch that is off", card, off},
                {"a switch that is off, under the mouse", card, changed("hovered", off)},
                {"a switch that is off, pressed", card, changed("pressed", off)},
                {"its knob", off, knob},
                {"its knob under the mouse", changed("hovered", off), knob},
                {"its knob, pressed", changed("pressed", off), knob},
                {"a switch that is on", card, number("switchBorder") > 0 ? colour("controlOutline") : accent},
                {"the knob of a switch that is on", accent, knob},
            };
            for (const auto& [what, below, above] : pairs)
                EXPECT_GE(contrast(below, on(below, above)), 3)
                    << what << (dark ? ", dark" : ", light") << (highContrast ? ", high contrast" : "");
        }
}

/// As it is drawn, whatever colours the theme has for it.
TEST_F(ThemeTest, EveryControlStandsOutFromItsCard) {
    m_state->micLevel = 0;
    m_state->outputLevel = 1;
    openPanel();
    for (const bool dark : {false, true})
        for (const bool on : {false, true}) {
            theme().setProperty("dark", dark);
            m_window->setColor(colour("window"));
            m_state->transcribeEnabled = on;
            runEventLoop();
            const QImage image = m_window->grabWindow();
            const QColor card = image.pixelColor(item("inputCard").mapToScene({10, 4}).toPoint());
            /// Of the end of an item, which is round: a little inside, halfway up.
            const auto contrastAtEnd = [&](const QQuickItem& each, bool atRight) {
                const QRect place = each.mapRectToScene(QRectF(QPointF(), each.size())).toRect();
                double best = 0;
                for (const int inside : {0, 1}) {
                    const int x = atRight ? place.right() - inside : place.left() + inside;
                    best = std::max(best, contrast(card, image.pixelColor(x, place.center().y())));
                }
                return best;
            };
            for (const bool atRight : {false, true}) {
                const QQuickItem& track = *item("transcriptSwitch").findChild<QQuickItem*>("switchTrack");
                EXPECT_GE(contrastAtEnd(track, atRight), 3) << "switch " << dark << on << atRight;
                EXPECT_GE(contrastAtEnd(item("micPicker"), atRight), 3) << "picker " << dark << atRight;
                EXPECT_GE(contrastAtEnd(item("micMeter"), atRight), 3) << "empty meter " << dark << atRight;
                EXPECT_GE(contrastAtEnd(item("outputMeter"), atRight), 3) << "full meter " << dark << atRight;
            }
        }
}

TEST_F(ThemeTest, LightIsLightAndDarkIsDark) {
    EXPECT_GT(luminance(colour("window")), 0.8);
    theme().setProperty("dark", true);
    EXPECT_LT(luminance(colour("window")), 0.1);
}

TEST_F(ThemeTest, SizesFollowTheTextScaleAndSpacesDoNot) {
    openPanel();
    EXPECT_EQ(number("body"), 13);
    EXPECT_EQ(number("caption"), 11);
    const double x = item("recordButton").x();
    theme().setProperty("textScale", 2.0);
    runEventLoop();
    EXPECT_EQ(number("body"), 26);
    EXPECT_EQ(m_panel->implicitWidth(), 640);
    EXPECT_EQ(item("recordButton").x(), x);
    EXPECT_EQ(item("micMeter").height(), 4);
}

TEST_F(ThemeTest, WithTextTwiceAsLargeNothingIsCutOff) {
    theme().setProperty("textScale", 2.0);
    m_state->lastRecording = Recorder::Result{"/r/mix.m4a", "/r/voice.m4a", "/r/system.m4a"};
    m_state->lastDuration = "120:00";
    m_state->status = "Pick a microphone first.";
    openPanel();
    for (const QQuickItem* const each : m_panel->findChildren<QQuickItem*>()) {
        if (!each->isVisible() || !each->inherits("QQuickText")) continue;
        EXPECT_FALSE(each->property("truncated").toBool()) << textOf(*each);
        EXPECT_LE(each->property("contentWidth").toDouble(), each->width() + 1) << textOf(*each);
        EXPECT_LE(each->property("contentHeight").toDouble(), each->height() + 1) << textOf(*each);
        const double end = each->mapToScene({each->width(), 0}).x();
        EXPECT_LE(end, m_panel->width()) << textOf(*each);
    }
}

} // namespace
