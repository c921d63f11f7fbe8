#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QSize>
#include <QString>

/// What the file draws, in that size and in one colour. Of a file that is not there the image is transparent.
QImage tintedImage(const QString& svgFile, const QSize& pixels, const QColor& colour);

/// The same as an icon of any size, with a narrow edge in another colour: on a bar of that colour it cannot
/// be seen, and on a bar that is no different from `colour` it shows the icon all the same.
QIcon tintedIcon(const QString& svgFile, const QColor& colour, const QColor& edge);
