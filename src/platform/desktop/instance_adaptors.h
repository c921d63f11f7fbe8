#pragma once

#include "app/app_status.h"

#include <QDBusAbstractAdaptor>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>
#include <functional>

// What a SingleInstance has on the bus.

/// org.freedesktop.Application of the Desktop Entry Specification.
class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    struct Handlers {
        std::function<void()> activate;
        std::function<void()> toggleRecording;
        std::function<void()> quit;
    };
    ApplicationAdaptor(QObject* parent, Handlers handlers);

  public Q_SLOTS:
    // Named and shaped by that interface.
    void Activate(const QVariantMap& platformData);
    /// Murmelo opens no files.
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameters, const QVariantMap& platformData);

  private:
    const Handlers m_handlers;
};

/// org.murmelo.Murmelo: AppStatus, field by field. What is not there is an empty text.
class StatusAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.murmelo.Murmelo")
    Q_PROPERTY(bool IsRecording READ isRecording)
    Q_PROPERTY(bool IsStarting READ isStarting)
    Q_PROPERTY(bool CanToggle READ canToggle)
    Q_PROPERTY(double Elapsed READ elapsed)
    Q_PROPERTY(QString Microphone READ microphone)
    Q_PROPERTY(QString LastRecording READ lastRecording)
    Q_PROPERTY(QString Text READ text)

  public:
    StatusAdaptor(QObject* parent, std::function<AppStatus()> status);

    bool isRecording() const { return m_status().isRecording; }
    bool isStarting() const { return m_status().isStarting; }
    bool canToggle() const { return m_status().canToggle; }
    double elapsed() const { return m_status().elapsed; }
    QString microphone() const;
    QString lastRecording() const;
    QString text() const;

  private:
    const std::function<AppStatus()> m_status;
};
