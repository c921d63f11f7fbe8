#pragma once

#include "ui/contrast.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

/// For QML, which cannot call a function that belongs to no object.
class ContrastGuard : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

  public:
    /// See withContrast.
    Q_INVOKABLE QColor ensure(const QColor& colour, const QColor& other, double ratio) const {
        return withContrast(colour, other, ratio);
    }
};
