#include "ui/ui_fixture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;

/// Which symbols each state shows, and in which of the theme's colours.
class ShownSymbols : public UiFixture, public testing::WithParamInterface<bool> {
  protected:
    void SetUp() override {
        UiFixture::SetUp();
        theme().setProperty("dark", GetParam());
        theme().setProperty("animated", false);
    }

    /// "name colour" of each, from the top, and in one line from the left.
    std::vector<std::string> symbols() {
        runEventLoop();
        std::vector<std::pair<QPointF, std::string>> found;
        collect(*m_window->contentItem(), found);
        std::ranges::sort(found, [](const auto& one, const auto& other) {
            return std::pair(one.first.y(), one.first.x()) < std::pair(other.first.y(), other.first.x());
        });
        std::vector<std::string> names;
        names.reserve(found.size());
        for (const auto& [place, name] : found) names.push_back(name);
        return names;
    }

  private:
    void collect(const QQuickItem& item, std::vector<std::pair<QPointF, std::string>>& found) {
        if (!item.isVisible() || item.opacity() == 0) return;
        if (item.property("source").toString().startsWith("image://symbol/"))
            found.emplace_back(item.mapToScene({0, item.height() / 2}),
                               item.property("name").toString().toStdString() + ' ' +
                                   roleOf(item.property("tint").value<QColor>()));
        for (const QQuickItem* child : item.childItems()) collect(*child, found);
    }
    std::string roleOf(const QColor& colour) {
        for (const char* role : {"primary", "secondary", "tertiary", "accentText", "green", "red"})
            if (theme().property(role).value<QColor>() == colour) return role;
        return colour.name(QColor::HexArgb).toStdString();
    }
};

INSTANTIATE_TEST_SUITE_P(, ShownSymbols, testing::Bool(),
                         [](const auto& dark) { return std::string(dark.param ? "dark" : "light"); });

TEST_P(ShownSymbols, IdlePanel) {
    openPanel();
    EXPECT_THAT(symbols(), ElementsAre("record-circle accentText", "mic secondary",
                                       "chevron-up-down secondary", "speaker-wave-2 secondary"));
}

TEST_P(ShownSymbols, RecordingPanel) {
    openPanel();
    m_state->isRecording = true;
    EXPECT_THAT(symbols(), ElementsAre("stop-fill accentText", "mic secondary", "chevron-up-down tertiary",
                                       "speaker-wave-2 secondary"));
}

TEST_P(ShownSymbols, SavedRecording) {
    openPanel();
    m_state->lastRecording = Recorder::Result{m_log.home() / "mix.m4a", {}, {}};
    EXPECT_THAT(symbols(), testing::Contains("checkmark-circle-fill green"));
    m_state->isTranscribing = true;
    EXPECT_THAT(symbols(), testing::Not(testing::Contains("checkmark-circle-fill green")))
        << "a spinner stands for it";
}

TEST_P(ShownSymbols, OpenListOfMicrophones) {
    m_devices.mics = {{"built-in", "Built-in Audio"}, {"usb", "USB Microphone"}};
    openPanel();
    click("micPicker");
    const auto* const popup = item("micPicker").property("popup").value<QObject*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return popup->property("opened").toBool(); }));
    EXPECT_THAT(symbols(), testing::Contains("check accentText")) << "on the highlighted row";
    press(Qt::Key_Down);
    EXPECT_THAT(symbols(), testing::Contains("check primary")) << "the highlight is on another row";
}

TEST_P(ShownSymbols, FirstRunWindow) {
    m_authorization.current = MicStatus::notDetermined;
    m_model->reread();
    openOnboarding();
    EXPECT_THAT(symbols(), ElementsAre("1-circle secondary", "2-circle secondary"));
    m_authorization.current = MicStatus::authorized;
    m_model->reread();
    m_state->systemAudioGranted = true;
    EXPECT_THAT(symbols(), ElementsAre("checkmark-circle-fill green", "checkmark-circle-fill green"));
}

} // namespace
