#include "face.h"

#include "backends.h"

#include <QGuiApplication>
#include <QIcon>
#include <QImageReader>

namespace {

/// The drawn sizes: each window waits for its icon, and the scalable one takes longer to draw.
QIcon windowIcon() {
    const QString theme = iconThemePath(executableFolder());
    QIcon icon;
    for (const int size : {16, 32, 48, 128}) {
        const QString file = theme + QStringLiteral("/hicolor/%1x%1/apps/org.murmelo.Murmelo.png").arg(size);
        QImageReader reader(file, "png"); // to find the format out, Qt would load all its plugins for images
        icon.addPixmap(QPixmap::fromImageReader(&reader));
    }
    return icon;
}

} // namespace

Face::Face(Views& views, const QDBusConnection& sessionBus, Workspace& workspace)
    : m_views(views), m_workspace(workspace), m_sessionBus(sessionBus), m_appearance(sessionBus),
      m_windowing(views, [this](AppState& state) -> AppStateModel& { return modelOf(state); }) {
    views.follow(m_appearance);
    QGuiApplication::setWindowIcon(windowIcon());
}

/// The state may show the onboarding window while it is being made, before anyone else knows it.
AppStateModel& Face::modelOf(AppState& state) {
    if (!m_model) {
        m_model = std::make_unique<AppStateModel>(state, m_workspace);
        QObject::connect(m_model.get(), &AppStateModel::quitRequested, &m_context, &QGuiApplication::quit);
    }
    return *m_model;
}

void Face::show(AppState& state, const TimedQueue& clock) {
    m_tray = std::make_unique<TrayIcon>(m_sessionBus, iconThemePath(executableFolder()), m_appearance);
    m_panel = std::make_unique<PanelWindow>(*m_views.makePanel(modelOf(state)), m_views.makePanelBackground(),
                                            clock);
    connectTray(state);
}

void Face::connectTray(AppState& state) {
    const auto on = [this](auto signal, auto action) {
        QObject::connect(m_tray.get(), signal, &m_context, action);
    };
    on(&TrayIcon::clicked, [this](const PanelAnchor& anchor) { m_panel->toggle(anchor); });
    // It takes the keyboard: a panel that closes only then takes the menu with it.
    on(&TrayIcon::menuOpening, [this] { m_panel->closeAtIcon(); });
    on(&TrayIcon::openChosen, [this] { openPanel(); });
    on(&TrayIcon::toggleChosen, [&state] { state.toggleRecording(); });
    on(&TrayIcon::quitChosen, [this] { m_model->quit(); });
    on(&TrayIcon::hostChanged, [this] {
        if (m_tray->host() != TrayIcon::Host::none) return m_panel->closeUnusedOrdinaryWindow();
        // Nobody could reach us without the panel; but it would take the keyboard from the first-run window.
        m_windowing.afterOnboarding([this] {
            if (m_tray && m_tray->host() == TrayIcon::Host::none) openPanel();
        });
    });
    const auto showStatus = [this, &state] { m_tray->show(statusOf(state)); };
    QObject::connect(m_model.get(), &AppStateModel::changed, &m_context, showStatus);
    showStatus();
}

void Face::openPanel() {
    if (m_tray->host() == TrayIcon::Host::none)
        m_panel->openAsOrdinaryWindow();
    else
        m_panel->open(NoAnchor());
}

void Face::forgetState() {
    m_tray.reset();
    m_panel.reset();
    m_model.reset();
}
