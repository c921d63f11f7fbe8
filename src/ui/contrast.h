#pragma once

#include <QColor>

/// The contrast of two colours after WCAG 2 (https://www.w3.org/TR/WCAG22/#dfn-contrast-ratio), from 1 to 21.
/// Both count as opaque.
double contrast(const QColor& one, const QColor& other);

/// The colour itself where its contrast to `other` is at least `ratio`, else the nearest one of its hue that
/// has it: darker than a light `other`, lighter than a dark one; black or white where none has it. Opaque.
QColor withContrast(const QColor& colour, const QColor& other, double ratio);
