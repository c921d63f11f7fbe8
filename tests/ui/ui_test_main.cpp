#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <gmock/gmock.h>

/// Views need an application object, and the pictures one font and one accent colour on every machine.
int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(13);
    QGuiApplication::setFont(font);
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Highlight, QColor(QStringLiteral("#1c71d8")));
    QGuiApplication::setPalette(palette);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
