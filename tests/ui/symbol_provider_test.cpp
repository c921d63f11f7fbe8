#include "ui/symbol_provider.h"

#include <gtest/gtest.h>

namespace {

class Symbols : public testing::TestWithParam<const char*> {};

TEST_P(Symbols, IsDrawnInItsColourWithinItsPlace) {
    const QImage image = symbolImage(QString(GetParam()), {48, 48}, QColor(255, 0, 0));
    int drawn = 0;
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 48; ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() == 0) continue;
            ++drawn;
            EXPECT_EQ(pixel.green(), 0);
            EXPECT_EQ(pixel.blue(), 0);
            EXPECT_TRUE(x > 0 && y > 0 && x < 47 && y < 47) << x << ' ' << y;
        }
    EXPECT_GT(drawn, 100);
}

INSTANTIATE_TEST_SUITE_P(All, Symbols,
                         testing::Values("1-circle", "2-circle", "check", "checkmark-circle-fill",
                                         "chevron-up-down", "mic", "record-circle", "record-circle-fill",
                                         "speaker-wave-2", "stop-fill", "waveform"));

TEST(SymbolProviderTest, AnUnknownSymbolIsTransparent) {
    const QImage image = symbolImage("no such symbol", {16, 16}, Qt::black);
    EXPECT_EQ(image.size(), QSize(16, 16));
    EXPECT_EQ(image.pixelColor(8, 8).alpha(), 0);
}

TEST(SymbolProviderTest, TheColourIsPartOfTheName) {
    QSize size;
    const QImage image = SymbolProvider().requestImage("stop-fill/80ff0000", &size, {32, 32});
    EXPECT_EQ(size, QSize(32, 32));
    EXPECT_NEAR(image.pixelColor(16, 16).alpha(), 128, 1);
    EXPECT_EQ(SymbolProvider().requestImage("stop-fill/00ff00", &size, {32, 32}).pixelColor(16, 16),
              Qt::green);
}

TEST(SymbolProviderTest, WithoutARequestedSizeItIsAsLargeAsItWasDrawn) {
    QSize size;
    EXPECT_EQ(SymbolProvider().requestImage("mic/ff000000", &size, {}).size(), QSize(24, 24));
    EXPECT_EQ(size, QSize(24, 24));
}

} // namespace
