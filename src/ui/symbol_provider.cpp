#include "ui/symbol_provider.h"

#include "ui/tinted_svg.h"

QImage symbolImage(const QString& name, const QSize& pixels, const QColor& colour) {
    return tintedImage(QStringLiteral(":/qt/qml/Murmelo/Ui/icons/%1.svg").arg(name), pixels, colour);
}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    constexpr QSize drawnSize(24, 24);
    const QSize pixels = requestedSize.isValid() && !requestedSize.isEmpty() ? requestedSize : drawnSize;
    if (size != nullptr) *size = pixels;
    return symbolImage(id.section('/', 0, 0), pixels, QColor('#' + id.section('/', 1, 1)));
}
