#include <KIconLoader>
#include <KIconTheme>
#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPalette>
#include <QPixmap>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <utility>

namespace {

class TrayIconInPlasma : public testing::Test {
  protected:
    static void setText(const QColor& text, const QColor& background) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, background);
        QApplication::setPalette(palette);
    }
    /// Found and drawn as Plasma does it with the name and the folder that an item in its tray tells it.
    static QImage drawn(const char* name) {
        KIconLoader loader(QString(), QStringList(QStringLiteral(MURMELO_ICONS)));
        loader.addAppDir(QStringLiteral("unused"), QStringLiteral(MURMELO_ICONS));
        return loader.loadIcon(QString::fromLatin1(name), KIconLoader::Panel, 64)
            .toImage()
            .convertToFormat(QImage::Format_ARGB32);
    }
    /// The names of the colours of all pixels that are not transparent at all.
    static std::map<std::string, int> opaqueColours(const QImage& image) {
        std::map<std::string, int> colours;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (qAlpha(image.pixel(x, y)) == 255) ++colours[image.pixelColor(x, y).name().toStdString()];
        return colours;
    }
};

TEST_F(TrayIconInPlasma, HasTheColourOfTheBarsText) {
    for (const auto& [text, background] :
         {std::pair("#232629", "#eff0f1"), std::pair("#fcfcfc", "#202326")}) {
        setText(QColor(text), QColor(background));
        const std::map<std::string, int> colours = opaqueColours(drawn("org.murmelo.Murmelo-symbolic"));
        EXPECT_THAT(colours, testing::ElementsAre(testing::Pair(text, testing::Gt(200))));
    }
}

TEST_F(TrayIconInPlasma, IsRedWhileARecordingRunsWhateverTheBar) {
    for (const auto& [text, background] :
         {std::pair("#232629", "#eff0f1"), std::pair("#fcfcfc", "#202326")}) {
        setText(QColor(text), QColor(background));
        const std::map<std::string, int> colours = opaqueColours(drawn("org.murmelo.Murmelo-recording"));
        EXPECT_THAT(colours, testing::ElementsAre(testing::Pair("#e5342b", testing::Gt(200))));
    }
}

/// An icon theme that follows the colours of the desktop, as Plasma's own one does. It has no icon of ours.
/// With it there is a cache of its own: what earlier runs have drawn is not looked for.
class DesktopOfPlasma {
  public:
    DesktopOfPlasma() {
        const QDir folder(m_folder.path());
        folder.mkpath(QStringLiteral("icons/plasma/apps"));
        QFile theme(folder.filePath(QStringLiteral("icons/plasma/index.theme")));
        if (!theme.open(QIODevice::WriteOnly)) qFatal("the icon theme cannot be written");
        theme.write("[Icon Theme]\nName=Plasma\nComment=Follows\nInherits=hicolor\nFollowsColorScheme=true\n"
                    "Directories=apps\n\n[apps]\nSize=16\nType=Scalable\nMinSize=8\nMaxSize=512\n");
        theme.close();
        qputenv("XDG_CACHE_HOME", folder.filePath(QStringLiteral("cache")).toUtf8());
        qputenv("XDG_DATA_DIRS", (m_folder.path() + QStringLiteral(":/usr/local/share:/usr/share")).toUtf8());
        KIconTheme::forceThemeForTests(QStringLiteral("plasma"));
    }

  private:
    const QTemporaryDir m_folder;
};

} // namespace

int main(int argc, char** argv) {
    const DesktopOfPlasma desktop;
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
