#include <QCoreApplication>
#include <gmock/gmock.h>

/// Posted events need an application object.
int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
