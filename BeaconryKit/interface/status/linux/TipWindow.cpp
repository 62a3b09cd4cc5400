#include "BeaconryKit/interface/status/linux/TipWindow.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QScreen>

#include <algorithm>

namespace pelorin {

namespace {

constexpr int padding = 6;
/// Between the pointer and the tip.
constexpr int distance = 20;

} // namespace

TipWindow::TipWindow() {
    setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
}

void TipWindow::showAt(const QPoint& place, const QString& text) {
    m_place = place;
    setText(text);
    show();
}

void TipWindow::setText(const QString& text) {
    m_text = text;
    place();
    update();
}

// Below the pointer, or above it where there is no room.
void TipWindow::place() {
    const QScreen* screen = QGuiApplication::screenAt(m_place);
    const QRect room = (screen ? screen : QGuiApplication::primaryScreen())->geometry();
    const QFontMetrics metrics(QGuiApplication::font());
    const QSize size(metrics.horizontalAdvance(m_text) + 2 * padding, metrics.height() + 2 * padding);
    const int below = m_place.y() + distance;
    const int top = below + size.height() > room.bottom() ? m_place.y() - distance - size.height() : below;
    const int left = std::clamp(m_place.x(), room.left(), std::max(room.left(), room.right() + 1 - size.width()));
    setGeometry(QRect(QPoint(left, top), size));
}

void TipWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QPalette palette = QGuiApplication::palette();
    const QRect whole(QPoint(), size());
    painter.fillRect(whole, palette.toolTipBase());
    painter.setPen(palette.color(QPalette::ToolTipText));
    painter.drawRect(whole.adjusted(0, 0, -1, -1));
    painter.drawText(whole, Qt::AlignCenter, m_text);
}

} // namespace pelorin
