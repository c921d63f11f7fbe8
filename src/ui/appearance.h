#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <optional>

/// How the user wants programs to look: light or dark (the desktop's portal, else the palette), the size of
/// text (the application's font) and whether things may move (the portal). Followed as it changes.
///
/// Main thread, after the application object.
class Appearance final : public QObject {
    Q_OBJECT

  public:
    /// `sessionBus` may be disconnected. Returns at once; the portal's answers come as a change.
    explicit Appearance(const QDBusConnection& sessionBus);

    bool isDark() const;
    /// 1 for the text of ordinary desktops, up to 2.
    double textScale() const;
    bool isAnimated() const { return m_isAnimated; }

    bool eventFilter(QObject* watched, QEvent* event) override;

  Q_SIGNALS:
    void changed();

  private Q_SLOTS:
    void settingChanged(const QString& area, const QString& key, const QDBusVariant& value);

  private:
    void read(const QString& area, const QString& key);

    QDBusConnection m_bus;
    std::optional<bool> m_prefersDark; // nothing: no preference
    bool m_isAnimated = true;
};
