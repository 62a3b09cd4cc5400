#pragma once

#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QString>

namespace pelorin {

/// A picture as the D-Bus protocol of status items carries it.
struct StatusPixmap {
    /// In pixels.
    int width = 0;
    int height = 0;
    /// Rows of ARGB32 pixels, not premultiplied, in network byte order.
    QByteArray bytes;

    bool operator==(const StatusPixmap&) const = default;
};

using StatusPixmaps = QList<StatusPixmap>;

/// The text beside a status item that shows when the pointer rests on it, as the protocol carries it.
struct StatusToolTip {
    QString iconName;
    StatusPixmaps iconPixmap;
    QString title;
    QString description;
};

QDBusArgument& operator<<(QDBusArgument& argument, const StatusPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, StatusPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const StatusToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, StatusToolTip& toolTip);

/// The symbol on a transparent square of `side` pixels, for a place whose colour is not known: light with a dark rim,
/// so that it stands out on light and dark alike.
QImage statusImage(const QString& symbol, int side);

/// The symbol in the sizes that desktops show; they choose and scale.
StatusPixmaps statusPixmaps(const QString& symbol);

} // namespace pelorin

Q_DECLARE_METATYPE(pelorin::StatusPixmap)
Q_DECLARE_METATYPE(pelorin::StatusToolTip)
