#include "support/picture_difference.h"
#include "ui/ui_fixture.h"

#include <QDir>
#include <QHash>
#include <QImage>
#include <QImageWriter>
#include <QLibraryInfo>
#include <QSet>
#include <QVersionNumber>
#include <algorithm>
#include <cmath>
#include <fstream>
#include <utility>

namespace {

/// How everything can be looked at. With QT_SCALE_FACTOR=2 the program draws in twice the dots.
struct Look {
    const char* name;
    bool dark = false;
    double textScale = 1;
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// Each minor version of Qt draws text a little differently, so each that Murmelo is tested with has its own
/// set.
QDir expectedPictures() {
    const QVersionNumber qt = QLibraryInfo::version();
    return {QStringLiteral(MURMELO_PICTURES "/qt-%1.%2").arg(qt.majorVersion()).arg(qt.minorVersion())};
}

/// Compares what is drawn with the pictures in tests/ui/pictures. With MURMELO_WRITE_PICTURES set it writes
/// them into that folder instead: look at each before you keep it.
class Pictures : public UiFixture, public testing::WithParamInterface<Look> {
  protected:
    void SetUp() override {
        m_devices.mics = {{"built-in", "Built-in Audio Analog Stereo"},
                          {"usb", "USB Condenser Microphone"},
                          {"bluetooth", "Bluetooth Headset"}};
        m_devices.defaultMic = "built-in";
        UiFixture::SetUp();
        theme().setProperty("dark", GetParam().dark);
        theme().setProperty("textScale", GetParam().textScale);
        theme().setProperty("animated", false);
        QGuiApplication::setLayoutDirection(GetParam().direction);
    }

    void setLevels(float mic, float system) {
        m_state->micLevel = mic;
        m_state->outputLevel = system;
    }
    void setLastRecording() {
        m_state->lastRecording = Recorder::Result{m_log.home() / "mix.m4a", {}, {}};
        m_state->lastDuration = "12:34";
        m_state->transcribeEnabled = true;
    }

    /// What the window shows, or a part of it.
    void compare(const std::string& scene, const QQuickItem* part = nullptr) {
        runEventLoop();
        QImage drawn = m_window->grabWindow();
        if (part != nullptr) {
            const QRectF place = part->mapRectToScene(part->boundingRect());
            drawn = drawn.copy(QRectF(place.topLeft() * m_window->devicePixelRatio(),
                                      place.size() * m_window->devicePixelRatio())
                                   .toRect());
        }
        const int dots = static_cast<int>(std::lround(m_window->devicePixelRatio()));
        const QString name =
            QString::fromStdString(scene + '-' + GetParam().name + (dots > 1 ? "-2x" : "") + ".png");
        if (const QString folder = qEnvironmentVariable("MURMELO_WRITE_PICTURES"); !folder.isEmpty()) {
            write(drawn, QDir(folder).filePath(name));
            return;
        }
        const QDir folder = expectedPictures();
        ASSERT_TRUE(folder.exists()) << folder.path().toStdString()
                                     << ": nobody has looked at this version's yet";
        const QImage expected(folder.filePath(name));
        ASSERT_EQ(drawn.size(), expected.size()) << name.toStdString();
        if (const PictureDifference difference = differenceBetween(drawn, expected); difference.isVisible()) {
            drawn.save("drawn-" + name);
            ADD_FAILURE() << name.toStdString() << ": " << difference.share * 100 << " % of the tile at "
                          << difference.tile.x() << ',' << difference.tile.y() << " differ";
        }
    }

    /// Whether the comparison notices that this is not drawn.
    bool noticesTheLossOf(const char* name) {
        runEventLoop();
        const QImage before = m_window->grabWindow();
        item(name).setOpacity(0);
        runEventLoop();
        const bool noticed = differenceBetween(m_window->grabWindow(), before).isVisible();
        item(name).setOpacity(1);
        return noticed;
    }

  private:
    /// Few colours make a small file. Those of areas stay as they are; those of edges, which are many, are
    /// rounded by half of what the comparison lets pass, at most.
    static void write(const QImage& image, const QString& file) {
        constexpr int step = 8;
        const auto rounded = [](int value) { return std::min(255, (value + step / 2) / step * step); };
        QImage written = image.convertToFormat(QImage::Format_RGB32);
        const QSet<QRgb> areas = mostFrequentColours(written);
        QList<QRgb> colours;
        for (int y = 0; y < written.height(); ++y)
            for (int x = 0; x < written.width(); ++x) {
                QRgb colour = written.pixel(x, y);
                if (!areas.contains(colour))
                    colour = qRgb(rounded(qRed(colour)), rounded(qGreen(colour)), rounded(qBlue(colour)));
                written.setPixel(x, y, colour);
                if (!colours.contains(colour)) colours.append(colour);
            }
        if (colours.size() <= 256) written = written.convertToFormat(QImage::Format_Indexed8, colours);
        QImageWriter writer(file, "png");
        writer.setCompression(100);
        if (!writer.write(written)) throw std::runtime_error("cannot write " + file.toStdString());
    }
    static QSet<QRgb> mostFrequentColours(const QImage& image) {
        constexpr int kept = 32;
        QHash<QRgb, int> counts;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) ++counts[image.pixel(x, y)];
        QList<QRgb> colours = counts.keys();
        std::sort(colours.begin(), colours.end(), [&](QRgb one, QRgb other) {
            return std::pair(counts[one], one) > std::pair(counts[other], other);
        });
        if (colours.size() > kept) colours.resize(kept);
        return {colours.begin(), colours.end()};
    }
};

INSTANTIATE_TEST_SUITE_P(, Pictures,
                         testing::Values(Look{"light"}, Look{"dark", true}, Look{"large-text", false, 1.5},
                                         Look{"right-to-left", false, 1, Qt::RightToLeft}),
                         [](const auto& each) {
                             std::string name = each.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// --- those of the documentation, which this suite draws as well

using PicturesOfDocs = UiFixture;

TEST_F(PicturesOfDocs, HaveTheColoursOfTheTheme) {
    for (const bool dark : {false, true}) {
        theme().setProperty("dark", dark);
        const QString file = QStringLiteral(MURMELO_PICTURES_OF_DOCS "/panel-idle-%1-2x.png");
        const QImage picture(file.arg(dark ? QStringLiteral("dark") : QStringLiteral("light")));
        ASSERT_FALSE(picture.isNull());
        const auto colour = [this](const char* name) { return theme().property(name).value<QColor>(); };
        EXPECT_EQ(picture.pixelColor(4, 4), colour("window"));
        openPanel();
        const QPointF fill = item("micMeter").mapToScene({20, 2}) * 2;
        EXPECT_EQ(picture.pixelColor(fill.toPoint()), colour("green"));
    }
}

// --- the panel

TEST_P(Pictures, PanelIdle) {
    openPanel();
    setLevels(0.42F, 0.63F);
    compare("panel-idle");
}

TEST_P(Pictures, PanelStarting) {
    openPanel();
    m_state->isStarting = true;
    compare("panel-starting");
}

TEST_P(Pictures, PanelRecording) {
    m_state->transcribeEnabled = true;
    openPanel();
    m_state->isRecording = true;
    m_state->elapsed = 754;
    setLevels(0.62F, 0.31F);
    compare("panel-recording");
}

TEST_P(Pictures, PanelSaved) {
    openPanel();
    setLastRecording();
    std::ofstream(m_log.home() / "transcript.txt") << "You: Hello";
    m_state->status = "No speech recognized.";
    setLevels(0.2F, 0);
    compare("panel-saved");
}

TEST_P(Pictures, PanelSavedWithoutTranscript) {
    openPanel();
    setLastRecording();
    compare("panel-saved-without-transcript");
}

TEST_P(Pictures, PanelTranscribing) {
    openPanel();
    setLastRecording();
    m_state->isTranscribing = true;
    compare("panel-transcribing");
}

TEST_P(Pictures, PanelWithoutMicrophone) {
    m_devices.mics = {};
    openPanel();
    m_state->status =
        "The microphone could not be opened. Check that no other application is using it exclusively.";
    compare("panel-without-microphone");
}

TEST_P(Pictures, PanelWithTheListOpen) {
    openPanel();
    click("micPicker");
    const auto* const popup = item("micPicker").property("popup").value<QObject*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return popup->property("opened").toBool(); }));
    press(Qt::Key_Down);
    compare("panel-list");
}

TEST_P(Pictures, PanelWithTheKeyboard) {
    openPanel();
    giveKeyboardTo("transcriptSwitch");
    compare("panel-keyboard");
}

// --- onboarding

TEST_P(Pictures, OnboardingAtFirst) {
    m_authorization.current = MicStatus::notDetermined;
    m_model->reread();
    openOnboarding();
    compare("onboarding-first");
}

TEST_P(Pictures, OnboardingChecking) {
    openOnboarding();
    click("grantSystemAudio");
    compare("onboarding-checking");
}

TEST_P(Pictures, OnboardingSilent) {
    m_state->systemAudioGranted = false;
    openOnboarding();
    compare("onboarding-silent");
}

TEST_P(Pictures, OnboardingGranted) {
    m_state->systemAudioGranted = true;
    openOnboarding();
    compare("onboarding-granted");
}

// --- meters

TEST_P(Pictures, MetersEmptyAndFull) {
    openPanel();
    setLevels(0, 1);
    compare("meters-empty-full", &item("inputCard"));
}

TEST_P(Pictures, MetersLowAndBeyond) {
    openPanel();
    setLevels(0.01F, 1.7F);
    compare("meters-low-beyond", &item("inputCard"));
}

// --- the comparison itself

TEST_P(Pictures, NoticeTheSmallestThingThatVanishes) {
    openPanel();
    setLastRecording();
    setLevels(0.01F, 0);
    for (const char* name : {"savedSymbol", "recordSymbol", "recordButton", "transcriptSwitch", "fill"})
        EXPECT_TRUE(noticesTheLossOf(name)) << name;
    m_state->isTranscribing = true;
    EXPECT_TRUE(noticesTheLossOf("transcribingSpinner"));
}

} // namespace
