// The least that a Qt Quick program can be: one window with two bars that move as often as level meters do.
// What it takes is Qt's, the rest of what a panel takes is the panel's.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <memory>

int main(int argc, char** argv) {
    const QGuiApplication qt(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick
        Window {
            id: window
            property int step
            width: 320
            height: 330
            visible: true
            title: "Bare"
            Timer { running: true; repeat: true; interval: 50; onTriggered: window.step = (window.step + 1) % 20 }
            Text { anchors.horizontalCenter: parent.horizontalCenter; y: 20; text: "A window" }
            Rectangle { x: 50; y: 100; width: 10 * window.step; height: 4; color: "green" }
            Rectangle { x: 50; y: 200; width: 200 - 10 * window.step; height: 4; color: "green" }
        })",
                      {});
    const std::unique_ptr<QObject> window(component.create());
    if (!window) qFatal("%s", qPrintable(component.errorString()));
    return QGuiApplication::exec();
}
