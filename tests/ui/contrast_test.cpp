#include "ui/contrast.h"

#include <gmock/gmock.h>

namespace {

const QColor black("#000000");
const QColor white("#ffffff");

/// Colours from all over the cube.
std::vector<QColor> manyColours() {
    std::vector<QColor> colours;
    for (int red = 0; red <= 255; red += 51)
        for (int green = 0; green <= 255; green += 51)
            for (int blue = 0; blue <= 255; blue += 51) colours.emplace_back(red, green, blue);
    return colours;
}

TEST(ContrastTest, IsThatOfTheStandard) {
    EXPECT_DOUBLE_EQ(contrast(white, white), 1);
    EXPECT_DOUBLE_EQ(contrast(black, white), 21);
    EXPECT_DOUBLE_EQ(contrast(white, black), 21);
    // What is known as the lightest grey for text on white, and the next one.
    EXPECT_NEAR(contrast("#767676", white), 4.54, 0.005);
    EXPECT_NEAR(contrast("#777777", white), 4.48, 0.005);
    EXPECT_NEAR(contrast("#ff0000", white), 4.00, 0.005);
    EXPECT_NEAR(contrast("#0000ff", white), 8.59, 0.005);
    EXPECT_NEAR(contrast("#00ff00", white), 1.37, 0.005);
    EXPECT_NEAR(contrast("#050505", black), 1.03, 0.005) << "the straight part of the curve";
}

TEST(ContrastTest, AColourThatHasItStaysAsItIsButOpaque) {
    EXPECT_EQ(withContrast("#767676", white, 4.5), QColor("#767676"));
    EXPECT_EQ(withContrast("#1c71d8", white, 4.5), QColor("#1c71d8"));
    EXPECT_EQ(withContrast("#801c71d8", white, 4.5), QColor("#1c71d8"));
}

TEST(ContrastTest, OnWhiteAColourIsDarkenedAsLittleAsNeeded) {
    for (const QColor& colour : manyColours()) {
        const QColor readable = withContrast(colour, white, 4.5);
        EXPECT_GE(contrast(readable, white), 4.5) << colour.name().toStdString();
        if (readable == colour) continue;
        EXPECT_LT(contrast(readable, white), 4.65) << colour.name().toStdString();
        EXPECT_LE(readable.red(), colour.red());
        EXPECT_LE(readable.green(), colour.green());
        EXPECT_LE(readable.blue(), colour.blue());
    }
}

TEST(ContrastTest, OnADarkColourOneIsLightenedAsLittleAsNeeded) {
    const QColor dark("#333335");
    for (const QColor& colour : manyColours()) {
        const QColor readable = withContrast(colour, dark, 4.5);
        EXPECT_GE(contrast(readable, dark), 4.5) << colour.name().toStdString();
        if (readable == colour) continue;
        EXPECT_LT(contrast(readable, dark), 4.65) << colour.name().toStdString();
        EXPECT_GE(readable.red(), colour.red());
        EXPECT_GE(readable.green(), colour.green());
        EXPECT_GE(readable.blue(), colour.blue());
    }
}

TEST(ContrastTest, ADarkenedColourKeepsItsHue) {
    for (const char* const name : {"#ed5b00", "#f5c211", "#33d17a", "#3584e4", "#d56199"})
        EXPECT_NEAR(withContrast(name, white, 4.5).hueF(), QColor(name).hueF(), 0.03) << name;
}

TEST(ContrastTest, WhatCannotBeReachedIsBlackOrWhite) {
    EXPECT_EQ(withContrast("#808080", "#777777", 21), black);
    EXPECT_EQ(withContrast("#808080", "#333333", 21), white);
    EXPECT_EQ(withContrast(black, white, 22), black);
    EXPECT_EQ(withContrast(white, black, 22), white);
}

} // namespace
