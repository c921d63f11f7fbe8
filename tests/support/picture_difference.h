#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>
#include <algorithm>
#include <cstdlib>

/// Where two pictures of one size differ most.
struct PictureDifference {
    static constexpr int tileSize = 16; ///< dots
    /// A channel may differ by this, of 255: less than a card does from the window behind it.
    static constexpr int tolerance = 8;
    /// What a tile may have of pixels that differ. The smallest thing that must not vanish is a meter's fill
    /// at one percent, about eight dots.
    static constexpr double allowedShare = 0.02;

    QPoint tile;      ///< its first dot
    double share = 0; ///< of the tile's pixels that differ, 0 to 1

    bool isVisible() const { return share > allowedShare; }
};

/// Looks at tiles one by one, so that a small thing counts as much as in a small picture.
inline PictureDifference differenceBetween(const QImage& one, const QImage& other) {
    constexpr int size = PictureDifference::tileSize;
    const auto differs = [&](int x, int y) {
        const QColor a = one.pixelColor(x, y);
        const QColor b = other.pixelColor(x, y);
        return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                         std::abs(a.blue() - b.blue())}) > PictureDifference::tolerance;
    };
    PictureDifference greatest;
    for (int top = 0; top < one.height(); top += size)
        for (int left = 0; left < one.width(); left += size) {
            const int bottom = std::min(top + size, one.height());
            const int right = std::min(left + size, one.width());
            int different = 0;
            for (int y = top; y < bottom; ++y)
                for (int x = left; x < right; ++x) different += differs(x, y) ? 1 : 0;
            const double share = static_cast<double>(different) / ((bottom - top) * (right - left));
            if (share > greatest.share) greatest = {{left, top}, share};
        }
    return greatest;
}
