#include "ui/tinted_svg.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QRegularExpression>
#include <QSvgRenderer>
#include <gmock/gmock.h>
#include <map>
#include <string>

namespace {

using testing::ElementsAre;
using testing::Gt;
using testing::IsEmpty;
using testing::Pair;

const QString waveform =
    QStringLiteral(MURMELO_ICONS "/hicolor/symbolic/apps/org.murmelo.Murmelo-symbolic.svg");

/// How many pixels have each colour, those that are transparent left out.
std::map<std::string, int> opaqueColours(const QImage& image) {
    std::map<std::string, int> colours;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).alpha() == 255) ++colours[image.pixelColor(x, y).name().toStdString()];
    return colours;
}

TEST(TintedSvgTest, AnImageHasOneColour) {
    const QImage image = tintedImage(waveform, QSize(64, 64), "#123456");
    EXPECT_EQ(image.size(), QSize(64, 64));
    EXPECT_THAT(opaqueColours(image), ElementsAre(Pair("#123456", Gt(200))));
}

TEST(TintedSvgTest, WithoutAFileTheImageIsTransparent) {
    const QImage image = tintedImage(QStringLiteral("/nowhere.svg"), QSize(8, 8), "#123456");
    EXPECT_EQ(image.size(), QSize(8, 8));
    EXPECT_THAT(opaqueColours(image), IsEmpty());
}

TEST(TintedSvgTest, AnIconHasItsColourAndAnEdgeInEverySize) {
    const QIcon icon = tintedIcon(waveform, "#123456", "#fedcba");
    for (const int size : {16, 22, 64}) {
        const QImage image = icon.pixmap(QSize(size, size), 1).toImage();
        EXPECT_EQ(image.size(), QSize(size, size));
        const std::map<std::string, int> colours = opaqueColours(image);
        EXPECT_GT(colours.at("#123456"), size) << size;
        EXPECT_GT(colours.at("#fedcba"), size / 2) << size;
    }
}

TEST(TintedSvgTest, AnIconIsPaintedAsItsPixmapAlsoByACopy) {
    const QIcon icon = tintedIcon(waveform, "#123456", "#fedcba");
    QIcon copy = icon;
    copy.detach();
    QImage painted(32, 32, QImage::Format_ARGB32_Premultiplied);
    painted.fill(Qt::transparent);
    QPainter painter(&painted);
    copy.paint(&painter, painted.rect());
    painter.end();
    EXPECT_EQ(opaqueColours(painted), opaqueColours(icon.pixmap(QSize(32, 32), 1).toImage()));
}

/// Some bars draw the file without knowing anything of its style sheet.
TEST(TintedSvgTest, TheTrayIconsFileCanBeSeenWithoutItsStyleSheetOnBlackAndOnWhite) {
    QFile file(waveform);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QString text = QString::fromUtf8(file.readAll());
    const qsizetype whole = text.size();
    text.remove(QRegularExpression(QStringLiteral("<style.*</style>")));
    ASSERT_LT(text.size(), whole);
    QSvgRenderer svg(text.toUtf8());
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    svg.render(&painter);
    painter.end();
    EXPECT_THAT(opaqueColours(image), ElementsAre(Pair("#808080", Gt(200))));
}

} // namespace
