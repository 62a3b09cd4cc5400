#include "BeaconryKit/interface/theme/Symbols.h"

#include <QHash>
#include <QLoggingCategory>
#include <QPainter>
#include <QPainterPathStroker>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(logSymbols, "pelorin.symbols")

constexpr QPointF centre{12, 12};
constexpr qreal discRadius = 10.5;
constexpr qreal lineWidth = 1.8;
constexpr qreal cutWidth = 2.1;

QPainterPath disc(QPointF middle, qreal radius) {
    QPainterPath path;
    path.addEllipse(middle, radius, radius);
    return path;
}

QPainterPath disc() {
    return disc(centre, discRadius);
}

QPainterPath line(std::initializer_list<QPointF> points) {
    QPainterPath path;
    bool first = true;
    for (const QPointF& point : points) {
        if (first)
            path.moveTo(point);
        else
            path.lineTo(point);
        first = false;
    }
    return path;
}

QPainterPath closed(std::initializer_list<QPointF> points) {
    QPainterPath path = line(points);
    path.closeSubpath();
    return path;
}

QPainterPath stroked(const QPainterPath& path, qreal width) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    // The default threshold suits one unit a pixel. Our outlines are scaled up.
    stroker.setCurveThreshold(0.02);
    return stroker.createStroke(path).simplified();
}

/// The shape with its corners rounded by `radius`, grown by as much.
QPainterPath rounded(const QPainterPath& shape, qreal radius) {
    return shape.united(stroked(shape, 2 * radius));
}

QPainterPath arc(QPointF middle, qreal radius, qreal startDegrees, qreal sweepDegrees) {
    const QRectF box(middle.x() - radius, middle.y() - radius, 2 * radius, 2 * radius);
    QPainterPath path;
    path.arcMoveTo(box, startDegrees);
    path.arcTo(box, startDegrees, sweepDegrees);
    return path;
}

QPainterPath ring() {
    return stroked(disc(centre, discRadius - lineWidth / 2), lineWidth);
}

QPainterPath checkmark() {
    return line({{7.5, 12.5}, {10.7, 15.7}, {16.5, 8.7}});
}

QPainterPath cross(qreal reach) {
    QPainterPath path = line({{centre.x() - reach, centre.y() - reach}, {centre.x() + reach, centre.y() + reach}});
    path.addPath(line({{centre.x() - reach, centre.y() + reach}, {centre.x() + reach, centre.y() - reach}}));
    return path;
}

QPainterPath star(QPointF middle, qreal outer, qreal inner) {
    QPainterPath path;
    for (int corner = 0; corner < 10; ++corner) {
        const qreal radius = corner % 2 == 0 ? outer : inner;
        const qreal angle = corner * std::numbers::pi / 5 - std::numbers::pi / 2;
        const QPointF point = middle + QPointF(radius * std::cos(angle), radius * std::sin(angle));
        if (corner == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    path.closeSubpath();
    return path;
}

QPainterPath bellBody() {
    QPainterPath path;
    path.moveTo(4.4, 17.4);
    path.cubicTo(6.3, 15.6, 6.4, 13.6, 6.5, 10.6);
    path.cubicTo(6.6, 6.7, 8.9, 4.1, 12, 4.1);
    path.cubicTo(15.1, 4.1, 17.4, 6.7, 17.5, 10.6);
    path.cubicTo(17.6, 13.6, 17.7, 15.6, 19.6, 17.4);
    path.closeSubpath();
    return path;
}

QPainterPath bellClapper() {
    QPainterPath path;
    path.moveTo(9.4, 19.8);
    path.cubicTo(10, 22.6, 14, 22.6, 14.6, 19.8);
    path.closeSubpath();
    return path;
}

QPainterPath bellOutline() {
    return stroked(bellBody(), 1.7).united(bellClapper()).united(stroked(line({{12, 3.6}, {12, 2.6}}), 2));
}

QPainterPath bellFilled() {
    return rounded(bellBody(), 0.85).united(bellClapper()).united(stroked(line({{12, 3.6}, {12, 2.6}}), 2));
}

QPainterPath bellSlashed() {
    const QPainterPath slash = line({{4, 3.4}, {20, 20.6}});
    return bellOutline().subtracted(stroked(slash, 4.4)).united(stroked(slash, 1.7));
}

QPainterPath bellBadged() {
    const QPointF badge(17.6, 6.2);
    return bellFilled().subtracted(disc(badge, 5.2)).united(disc(badge, 3.8));
}

QPainterPath antenna() {
    QPainterPath waves;
    for (const qreal radius : {4.6, 8.2}) {
        waves.addPath(arc({12, 9.6}, radius, 142, 76));
        waves.addPath(arc({12, 9.6}, radius, -38, 76));
    }
    return stroked(waves, 1.7).united(disc({12, 9.6}, 2.1)).united(stroked(line({{12, 10}, {12, 20.6}}), 1.9));
}

QPainterPath circlingArrows() {
    const QPainterPath upper = stroked(arc(centre, 8.2, 32, 128), lineWidth)
                                   .united(rounded(closed({{21.0, 7.4}, {20.1, 12.0}, {15.9, 9.7}}), 0.5));
    return upper.united(QTransform().translate(24, 24).rotate(180).map(upper));
}

QPainterPath seal() {
    QPainterPath path = disc(centre, 8.6);
    constexpr int bumps = 10;
    for (int bump = 0; bump < bumps; ++bump) {
        const qreal angle = bump * 2 * std::numbers::pi / bumps;
        path = path.united(disc(centre + QPointF(7.9 * std::cos(angle), 7.9 * std::sin(angle)), 2.75));
    }
    return path;
}

QPainterPath warningTriangle() {
    QPainterPath mark = stroked(line({{12, 9.2}, {12, 13.4}}), 2);
    mark.addPath(disc({12, 16.9}, 1.25));
    return rounded(closed({{12, 4.2}, {20.8, 19.4}, {3.2, 19.4}}), 1.6).subtracted(mark);
}

QPainterPath sleepingMoon() {
    QPainterPath moon = disc({10.2, 13.6}, 8).subtracted(disc({14.6, 9.4}, 7.4));
    QPainterPath letters = line({{12.4, 9.8}, {15.6, 9.8}, {12.4, 13.6}, {15.6, 13.6}});
    letters.addPath(line({{17.4, 3}, {21.4, 3}, {17.4, 7.8}, {21.4, 7.8}}));
    return moon.united(stroked(letters, 1.5));
}

QPainterPath gear() {
    QPainterPath teeth = disc(centre, 7.4);
    for (int tooth = 0; tooth < 8; ++tooth) {
        const QPainterPath one = rounded(closed({{10.6, 2.4}, {13.4, 2.4}, {14, 6}, {10, 6}}), 0.5);
        teeth = teeth.united(QTransform().translate(12, 12).rotate(tooth * 45).translate(-12, -12).map(one));
    }
    return teeth.subtracted(disc(centre, 5.4)).united(disc(centre, 2.4));
}

QPainterPath paperPlane() {
    const QPainterPath plane = closed({{17.4, 6.6}, {6.3, 11.0}, {10.7, 13.3}, {13.0, 17.7}});
    return rounded(plane, 0.35).subtracted(stroked(line({{10.9, 13.1}, {14.2, 9.8}}), 0.9));
}

QPainterPath cornerArrow() {
    QPainterPath arrow = line({{8.4, 15.6}, {15.4, 8.6}});
    arrow.addPath(line({{9.6, 8.5}, {15.5, 8.5}, {15.5, 14.4}}));
    return arrow;
}

QPainterPath roundedRectangle(const QRectF& rectangle, qreal radius) {
    QPainterPath path;
    path.addRoundedRect(rectangle, radius, radius);
    return path;
}

const QHash<QString, QPainterPath>& outlines() {
    static const QHash<QString, QPainterPath> table{
        {QStringLiteral("antenna.radiowaves.left.and.right"), antenna()},
        {QStringLiteral("arrow.triangle.2.circlepath"), circlingArrows()},
        {QStringLiteral("arrow.turn.down.right"),
         stroked(line({{6, 4.5}, {6, 14}, {17.5, 14}}), lineWidth)
             .united(stroked(line({{13.2, 9.4}, {17.8, 14}, {13.2, 18.6}}), lineWidth))},
        {QStringLiteral("arrow.up.right.square.fill"),
         roundedRectangle({2.5, 2.5, 19, 19}, 5).subtracted(stroked(cornerArrow(), cutWidth))},
        {QStringLiteral("bell"), bellOutline()},
        {QStringLiteral("bell.badge.fill"), bellBadged()},
        {QStringLiteral("bell.slash"), bellSlashed()},
        {QStringLiteral("checkmark.circle"), ring().united(stroked(checkmark(), lineWidth))},
        {QStringLiteral("checkmark.circle.fill"), disc().subtracted(stroked(checkmark(), cutWidth))},
        {QStringLiteral("checkmark.seal.fill"), seal().subtracted(stroked(checkmark(), cutWidth))},
        {QStringLiteral("chevron.down.circle.fill"),
         disc().subtracted(stroked(line({{7.6, 10.3}, {12, 14.7}, {16.4, 10.3}}), cutWidth))},
        {QStringLiteral("chevron.up.circle.fill"),
         disc().subtracted(stroked(line({{7.6, 13.7}, {12, 9.3}, {16.4, 13.7}}), cutWidth))},
        {QStringLiteral("clock"), ring().united(stroked(line({{12, 6.6}, {12, 12.2}, {15.6, 14.2}}), lineWidth))},
        {QStringLiteral("exclamationmark.triangle.fill"), warningTriangle()},
        {QStringLiteral("gearshape"), gear()},
        {QStringLiteral("iphone"), stroked(roundedRectangle({6.6, 2.4, 10.8, 19.2}, 2.8), 1.7)
                                       .united(stroked(line({{10.4, 18.8}, {13.6, 18.8}}), 1.3))},
        {QStringLiteral("moon.zzz"), sleepingMoon()},
        {QStringLiteral("paperplane.circle.fill"), disc().subtracted(paperPlane())},
        {QStringLiteral("star.circle.fill"), disc().subtracted(rounded(star(centre, 6.4, 2.7), 0.4))},
        {QStringLiteral("terminal"), stroked(roundedRectangle({2.4, 4, 19.2, 16}, 3.4), 1.7)
                                         .united(stroked(line({{6.6, 8.8}, {9.8, 12}, {6.6, 15.2}}), lineWidth))
                                         .united(stroked(line({{12, 15.4}, {16.6, 15.4}}), lineWidth))},
        {QStringLiteral("xmark"), stroked(cross(6), 2.1)},
        {QStringLiteral("xmark.circle.fill"), disc().subtracted(stroked(cross(3.7), cutWidth))},
    };
    return table;
}

} // namespace

QStringList Symbols::names() {
    QStringList names = outlines().keys();
    std::ranges::sort(names);
    return names;
}

QPainterPath Symbols::outline(const QString& name) {
    const auto found = outlines().constFind(name);
    if (found == outlines().cend()) {
        qCWarning(logSymbols) << "There is no symbol of the name" << name;
        return {};
    }
    return *found;
}

void Symbols::draw(QPainter& painter, const QString& name, const QRectF& bounds, const QColor& colour) {
    const QPainterPath path = outline(name);
    if (path.isEmpty())
        return;
    const qreal scale = std::min(bounds.width(), bounds.height()) / boxSide;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.center());
    painter.scale(scale, scale);
    painter.translate(-boxSide / 2, -boxSide / 2);
    painter.fillPath(path, colour);
    painter.restore();
}

QImage Symbols::image(const QString& name, int side, qreal devicePixelRatio, const QColor& colour) {
    const int pixels = qCeil(side * devicePixelRatio);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter, name, QRectF(0, 0, side, side), colour);
    return image;
}

} // namespace pelorin
