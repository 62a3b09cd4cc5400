#include "BeaconryKit/interface/manager/QRCodeItem.h"

#include "BeaconryKit/interface/manager/QRCode.h"

#include <QImage>
#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

namespace pelorin {

QRCodeItem::QRCodeItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setImplicitSize(176, 176);
    // Between two pixels the code would blur.
    setSmooth(false);
    setAntialiasing(false);
}

void QRCodeItem::setText(const QString& text) {
    if (m_text == text)
        return;
    m_text = text;
    emit textChanged();
    update();
}

void QRCodeItem::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange) {
        disconnect(m_frames);
        if (data.window)
            m_frames = connect(data.window, &QQuickWindow::afterAnimating, this, &QRCodeItem::alignToPixels);
    }
    QQuickPaintedItem::itemChange(change, data);
}

void QRCodeItem::alignToPixels() {
    if (!isVisible() || !parentItem())
        return;
    const qreal scale = window()->effectiveDevicePixelRatio();
    const QPointF corner = parentItem()->mapToScene({0, 0}) * scale;
    setPosition((QPointF(std::round(corner.x()), std::round(corner.y())) - corner) / scale);
}

void QRCodeItem::paint(QPainter* painter) {
    const qreal scale = painter->device()->devicePixelRatio();
    const int side = static_cast<int>(std::min(width(), height()) * scale);
    const auto bitmap = QRCode::image(m_text, side);
    if (!bitmap)
        return;
    QImage image(reinterpret_cast<const uchar*>(bitmap->pixels.constData()), side, side, side,
                 QImage::Format_Grayscale8);
    image.setDevicePixelRatio(scale);
    painter->drawImage(QPointF(0, 0), image);
}

} // namespace pelorin
