#include "ui/views.h"

#include "ui/app_state_model.h"
#include "ui/symbol_provider.h"

#include <QDebug>
#include <QQuickItem>
#include <QQuickWindow>
#include <QUrl>
#include <array>
#include <memory>

// Generated from what the headers say to QML. The call keeps the linker from leaving it out.
void qml_register_types_Murmelo_Ui();

// What the plugins of these modules would do, which then need not be loaded: the thread that loads the types
// stops at each plugin until the main thread has time for it.
void qml_register_types_QtQml_WorkerScript();
void qml_register_types_QtQuick_Layouts();

namespace {

[[gnu::used]] const std::array registeredByTheLibraries{&qml_register_types_QtQml_WorkerScript,
                                                        &qml_register_types_QtQuick_Layouts};

QUrl urlOf(const QString& type) {
    return QUrl(QStringLiteral("qrc:/qt/qml/Murmelo/Ui/%1.qml").arg(type));
}

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

Views::Views() {
    if (QQuickWindow::sceneGraphBackend() != QStringLiteral("software"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    qml_register_types_Murmelo_Ui();
    m_engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_engine.addImageProvider(QStringLiteral("symbol"), new SymbolProvider); // the engine owns it
    m_panelTypes.loadUrl(urlOf(QStringLiteral("MenuPanel")), QQmlComponent::Asynchronous);
}

void Views::follow(const Appearance& appearance) {
    m_appearance = &appearance;
    QObject::connect(&appearance, &Appearance::changed, &m_context, [this] { applyAppearance(); });
}

QObject& Views::theme() {
    if (m_theme == nullptr) {
        m_theme = findTheme(m_engine);
        applyAppearance();
    }
    return *m_theme;
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
    theme();                                         // as the user wants it before anything is drawn
    QQmlComponent component(&m_engine, urlOf(type)); // waits for its types
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

void Views::applyAppearance() {
    if (!m_appearance || m_theme == nullptr) return;
    m_theme->setProperty("dark", m_appearance->isDark());
    m_theme->setProperty("desktopAccent", m_appearance->accent());
    m_theme->setProperty("highContrast", m_appearance->hasHighContrast());
    m_theme->setProperty("textScale", m_appearance->textScale());
    m_theme->setProperty("animated", m_appearance->isAnimated());
}
