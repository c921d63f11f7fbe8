#include <QFont>
#include <QGuiApplication>
#include <gmock/gmock.h>

/// Views need an application object, and the pictures one font on every machine.
int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(13);
    QGuiApplication::setFont(font);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
