#include "ui/tinted_svg.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QRectF>
#include <QSvgRenderer>
#include <algorithm>
#include <utility>

namespace {

/// Draws at the moment of being painted, in the device's dots.
class TintedIconEngine final : public QIconEngine {
  public:
    TintedIconEngine(QString svgFile, const QColor& colour, const QColor& edge)
        : m_svgFile(std::move(svgFile)), m_colour(colour), m_edge(edge) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
        painter->drawImage(rect, drawn(rect.size() * painter->device()->devicePixelRatio()));
    }
    QPixmap pixmap(const QSize& pixels, QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
        return QPixmap::fromImage(drawn(pixels));
    }
    QIconEngine* clone() const override { return new TintedIconEngine(m_svgFile, m_colour, m_edge); }

  private:
    QImage drawn(const QSize& pixels) const {
        const QImage edge = tintedImage(m_svgFile, pixels, m_edge);
        QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        const int width = std::max(1, pixels.height() / 24);
        for (const int x : {-width, 0, width})
            for (const int y : {-width, 0, width}) painter.drawImage(x, y, edge);
        painter.drawImage(0, 0, tintedImage(m_svgFile, pixels, m_colour));
        return image;
    }

    const QString m_svgFile;
    const QColor m_colour;
    const QColor m_edge;
};

} // namespace

QImage tintedImage(const QString& svgFile, const QSize& pixels, const QColor& colour) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (!QFile::exists(svgFile)) return image;
    QSvgRenderer svg(svgFile);
    svg.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter, QRectF(QPointF(), pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

QIcon tintedIcon(const QString& svgFile, const QColor& colour, const QColor& edge) {
    return QIcon(new TintedIconEngine(svgFile, colour, edge)); // the icon owns it
}
