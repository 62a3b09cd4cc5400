#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>

#include <optional>

namespace pelorin {

/// The middle of what is coloured so at the top of the screen, when enough of it is there to be a button.
inline std::optional<QPoint> findButton(const QImage& picture, bool (*isOfTheButton)(const QColor&)) {
    QPoint sum;
    int count = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (isOfTheButton(picture.pixelColor(x, y))) {
                sum += QPoint(x, y);
                ++count;
            }
        }
    }
    return count < 300 ? std::nullopt : std::optional(sum / count);
}

inline bool isAllowGreen(const QColor& colour) {
    return colour.green() > 170 && colour.red() < 120 && colour.blue() < 160;
}

inline bool isDenyRed(const QColor& colour) {
    return colour.red() > 200 && colour.green() < 120 && colour.blue() < 130;
}

} // namespace pelorin
