#include "ui/quick_windowing.h"

#include "ui/app_state_model.h"
#include "ui/views.h"

#include <QScreen>
#include <utility>

namespace {

class QuickOnboardingWindow final : public OnboardingWindow {
  public:
    QuickOnboardingWindow(AppStateModel& model, QQuickWindow* window) : m_model(&model), m_window(window) {
        const QRect screen = m_window->screen()->availableGeometry();
        m_window->setPosition(screen.center() - QRect(QPoint(), m_window->size()).center());
    }
    /// It may be its own button that ends it: first it is out of sight, then gone.
    ~QuickOnboardingWindow() override {
        if (!m_window) return;
        m_window->hide();
        m_window->deleteLater();
    }
    QuickOnboardingWindow(const QuickOnboardingWindow&) = delete;
    QuickOnboardingWindow& operator=(const QuickOnboardingWindow&) = delete;

    void showInFront() override {
        if (!m_window) return;
        m_model->reread();
        m_window->show();
        m_window->raise();
        m_window->requestActivate();
    }

  private:
    const QPointer<AppStateModel> m_model;
    const QPointer<QQuickWindow> m_window; // goes with the model
};

} // namespace

QuickWindowing::QuickWindowing(Views& views, std::function<AppStateModel&(AppState&)> modelOf)
    : m_views(views), m_modelOf(std::move(modelOf)) {}

void QuickWindowing::setPresence(Presence /*presence*/) {}

/// A desktop lets no program come to the front as such, only a window, when it is shown.
void QuickWindowing::activate() {}

std::unique_ptr<OnboardingWindow> QuickWindowing::makeOnboardingWindow(AppState& state) {
    AppStateModel& model = m_modelOf(state);
    m_onboardingWindow = m_views.makeOnboardingWindow(model);
    return std::make_unique<QuickOnboardingWindow>(model, m_onboardingWindow);
}

void QuickWindowing::afterOnboarding(std::function<void()> action) {
    if (!m_onboardingWindow || !m_onboardingWindow->isVisible()) return action();
    const auto type = static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection);
    QObject::connect(m_onboardingWindow, &QWindow::visibleChanged, &m_context, std::move(action), type);
}
