#pragma once

#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QString>
#include <QStringList>

class QPainter;

namespace pelorin {

/// Our own vector icons under the platform's symbol names. Every icon is one filled outline, so that it is drawn in one
/// colour at any size; where a symbol is a filled shape, its glyph is cut out and shows what lies beneath. Any thread.
class Symbols {
public:
    Symbols() = delete;

    /// The side of the square box that the outlines are drawn in, in the outlines' own units.
    static constexpr qreal boxSide = 24;

    /// All names, sorted.
    static QStringList names();

    /// The outline within a box of `boxSide`; empty, with a warning, for a name that is not known.
    static QPainterPath outline(const QString& name);

    /// Draws the symbol as large as fits the middle of `bounds` (the painter's units). A name that is not known draws
    /// nothing and warns.
    static void draw(QPainter& painter, const QString& name, const QRectF& bounds, const QColor& colour);

    /// The symbol on a transparent square of `side` device-independent pixels, for places that take pictures only.
    static QImage image(const QString& name, int side, qreal devicePixelRatio, const QColor& colour);
};

} // namespace pelorin
