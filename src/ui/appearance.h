#pragma once

#include <QColor>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <optional>

/// How the user wants programs to look: light or dark and the accent colour (the desktop's portal, else the
/// palette), whether contrasts are to be high and whether things may move (the portal), and the size of text
/// (the application's font). Followed as it changes.
///
/// Main thread, after the application object.
class Appearance final : public QObject {
    Q_OBJECT

  public:
    /// `sessionBus` may be disconnected. Returns at once; the portal's answers come as a change.
    explicit Appearance(const QDBusConnection& sessionBus);

    bool isDark() const;
    /// As the user has chosen it, whatever its contrast to text.
    QColor accent() const;
    bool hasHighContrast() const { return m_hasHighContrast; }
    /// Of text on the desktop: the palette's, and what the palette puts behind it. They change places where
    /// the portal prefers dark and the palette is light, or the other way round.
    QColor text() const;
    QColor textBackground() const;
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
    std::optional<QColor> m_accent;    // nothing: the portal tells none
    std::optional<bool> m_prefersDark; // nothing: no preference
    bool m_hasHighContrast = false;
    bool m_isAnimated = true;
};
