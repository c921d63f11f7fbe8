#include <QApplication>
#include <gmock/gmock.h>

/// The tray icon needs an application object with widgets.
int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
