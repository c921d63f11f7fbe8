#include "ui/symbol_provider.h"

#include <QFile>
#include <QPainter>
#include <QRectF>
#include <QSvgRenderer>

QImage symbolImage(const QString& name, const QSize& pixels, const QColor& colour) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QString file = QStringLiteral(":/qt/qml/Murmelo/Ui/icons/%1.svg").arg(name);
    if (!QFile::exists(file)) return image;
    QSvgRenderer svg(file);
    svg.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter, QRectF(QPointF(), pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    constexpr QSize drawnSize(24, 24);
    const QSize pixels = requestedSize.isValid() && !requestedSize.isEmpty() ? requestedSize : drawnSize;
    if (size != nullptr) *size = pixels;
    return symbolImage(id.section('/', 0, 0), pixels, QColor('#' + id.section('/', 1, 1)));
}
