#include "BeaconryKit/interface/status/linux/StatusPixmaps.h"

#include "BeaconryKit/interface/theme/Symbols.h"

#include <QPainter>
#include <QPen>
#include <QtEndian>

namespace pelorin {

namespace {

constexpr int sides[] = {16, 22, 24, 32, 48, 64};

const QColor fillColour(0xff, 0xff, 0xff);
const QColor rimColour(0x1c, 0x1c, 0x1e, 0xd8);
// On each side of the outline, in the outline's own units.
constexpr qreal rimWidth = 1.5;

StatusPixmap toPixmap(const QImage& image) {
    StatusPixmap pixmap{image.width(), image.height(), {}};
    pixmap.bytes.resize(image.sizeInBytes());
    qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / 4, pixmap.bytes.data());
    return pixmap;
}

} // namespace

QImage statusImage(const QString& symbol, int side) {
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outline = Symbols::outline(symbol);
    const qreal scale = side / (Symbols::boxSide + 2 * rimWidth);
    painter.scale(scale, scale);
    painter.translate(rimWidth, rimWidth);
    painter.strokePath(outline, QPen(rimColour, 2 * rimWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(outline, fillColour);
    painter.end();
    return image;
}

StatusPixmaps statusPixmaps(const QString& symbol) {
    StatusPixmaps pixmaps;
    for (const int side : sides)
        pixmaps << toPixmap(statusImage(symbol, side));
    return pixmaps;
}

QDBusArgument& operator<<(QDBusArgument& argument, const StatusPixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, StatusPixmap& pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const StatusToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.iconPixmap << toolTip.title << toolTip.description;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, StatusToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.iconPixmap >> toolTip.title >> toolTip.description;
    argument.endStructure();
    return argument;
}

} // namespace pelorin
