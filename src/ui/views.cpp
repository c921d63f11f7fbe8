#include "ui/views.h"

#include "ui/app_state_model.h"
#include "ui/appearance.h"
#include "ui/symbol_provider.h"

#include <QDebug>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QUrl>
#include <memory>

// Generated from what the headers say to QML. The call keeps the linker from leaving it out.
void qml_register_types_Murmelo_Ui();

namespace {

/// A singleton written in QML can be reached only from QML.
QObject* findTheme(QQmlEngine& engine) {
    QQmlComponent finder(&engine);
    finder.setData("import QtQml\nimport Murmelo.Ui\nQtObject { readonly property QtObject theme: Theme }",
                   {});
    if (!finder.isReady()) qFatal("%s", qPrintable(finder.errorString()));
    const std::unique_ptr<QObject> found(finder.create());
    return found->property("theme").value<QObject*>();
}

} // namespace

Views::Views(const Appearance& appearance) {
    if (QQuickWindow::sceneGraphBackend() != QStringLiteral("software"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    qml_register_types_Murmelo_Ui();
    m_engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_engine.addImageProvider(QStringLiteral("symbol"), new SymbolProvider); // the engine owns it
    m_theme = findTheme(m_engine);
    follow(appearance);
    QObject::connect(&appearance, &Appearance::changed, &m_context,
                     [this, &appearance] { follow(appearance); });
}

QQuickItem* Views::makePanel(AppStateModel& model) {
    return qobject_cast<QQuickItem*>(make(QStringLiteral("MenuPanel"), model));
}

QQuickWindow* Views::makeOnboardingWindow(AppStateModel& model) {
    return qobject_cast<QQuickWindow*>(make(QStringLiteral("OnboardingWindow"), model));
}

std::unique_ptr<QQuickItem> Views::makePanelBackground() {
    return std::unique_ptr<QQuickItem>(
        qobject_cast<QQuickItem*>(create(QStringLiteral("PanelBackground"), {})));
}

QObject* Views::create(const QString& type, const QVariantMap& properties) {
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/qt/qml/Murmelo/Ui/%1.qml").arg(type)));
    if (!component.isReady()) qFatal("%s", qPrintable(component.errorString())); // an error of our own
    QObject* const created = component.createWithInitialProperties(properties);
    QQmlEngine::setObjectOwnership(created, QQmlEngine::CppOwnership);
    return created;
}

QObject* Views::make(const QString& type, AppStateModel& model) {
    QObject* const view = create(type, {{"app", QVariant::fromValue(&model)}});
    QObject::connect(&model, &QObject::destroyed, view, [view] { delete view; });
    return view;
}

void Views::follow(const Appearance& appearance) {
    m_theme->setProperty("dark", appearance.isDark());
    m_theme->setProperty("textScale", appearance.textScale());
    m_theme->setProperty("animated", appearance.isAnimated());
}
