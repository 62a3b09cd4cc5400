#include "BeaconryKit/interface/status/linux/MenuPopup.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QScreen>

#include <algorithm>

namespace pelorin {

namespace {

constexpr int rowPadding = 5;
constexpr int edge = 5;
constexpr int separatorHeight = 9;
constexpr int gutter = 24;
constexpr int widest = 520;

QFontMetrics metrics() {
    return QFontMetrics(QGuiApplication::font());
}

QString keyText(const MenuItem& item) {
    return item.keyEquivalent.isEmpty()
               ? QString()
               : QKeySequence(QStringLiteral("Ctrl+") + item.keyEquivalent).toString(QKeySequence::NativeText);
}

QPainterPath checkMark(const QRectF& box) {
    QPainterPath path;
    path.moveTo(box.left(), box.center().y());
    path.lineTo(box.left() + box.width() * 0.38, box.bottom());
    path.lineTo(box.right(), box.top());
    return path;
}

QPainterPath foldMark(const QRectF& box, bool isUnfolded) {
    QPainterPath path;
    path.moveTo(box.topLeft());
    path.lineTo(isUnfolded ? QPointF(box.center().x(), box.bottom()) : QPointF(box.right(), box.center().y()));
    path.lineTo(isUnfolded ? box.topRight() : box.bottomLeft());
    return path;
}

QRectF squareAt(const QPointF& middle, qreal side) {
    return {middle.x() - side / 2, middle.y() - side / 2, side, side};
}

} // namespace

MenuPopup::MenuPopup(Menu menu, std::function<void(const MenuItem&)> onChosen)
    : m_menu(std::move(menu)), m_onChosen(std::move(onChosen)) {
    setFlags(Qt::Popup | Qt::FramelessWindowHint);
    layOut();
}

void MenuPopup::popUp(const QPoint& where) {
    m_place = where;
    place();
    show();
}

QRect MenuPopup::itemRect(const QString& title) const {
    const auto row = std::ranges::find_if(m_rows, [&](const Row& each) { return each.item->title == title; });
    return row == m_rows.end() ? QRect() : row->rect.translated(0, -m_scrollTop);
}

void MenuPopup::layOut() {
    m_rows.clear();
    int top = edge;
    addRows(m_menu, 0, top);
    m_contentHeight = top + edge;
    int width = 0;
    for (const Row& row : m_rows)
        width = std::max(width, widthFor(row));
    width = std::min(width, widest);
    for (Row& row : m_rows)
        row.rect.setWidth(width);
    place();
}

void MenuPopup::addRows(const Menu& menu, int depth, int& top) {
    for (const MenuItem& item : menu) {
        const int height =
            item.kind == MenuItem::Kind::separator ? separatorHeight : metrics().height() + 2 * rowPadding;
        m_rows.push_back({&item, depth, QRect(0, top, 0, height)});
        top += height;
        if (&item == m_unfolded)
            addRows(item.submenu, depth + 1, top);
    }
}

int MenuPopup::widthFor(const Row& row) const {
    const QString key = keyText(*row.item);
    return gutter * (2 + row.depth) + metrics().horizontalAdvance(row.item->title) +
           (key.isEmpty() ? 0 : gutter + metrics().horizontalAdvance(key));
}

// Grows away from the nearest edges of the screen, and scrolls where it is higher than the screen.
void MenuPopup::place() {
    const QScreen* screen = QGuiApplication::screenAt(m_place);
    const QRect room = (screen ? screen : QGuiApplication::primaryScreen())->geometry();
    const QSize size(m_rows.empty() ? 0 : m_rows.front().rect.width(), std::min(m_contentHeight, room.height()));
    QPoint corner = m_place;
    if (corner.x() + size.width() > room.right())
        corner.rx() -= size.width();
    if (corner.y() + size.height() > room.bottom())
        corner.ry() -= size.height();
    corner.setX(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() + 1 - size.width())));
    corner.setY(std::clamp(corner.y(), room.top(), std::max(room.top(), room.bottom() + 1 - size.height())));
    setGeometry(QRect(corner, size));
    scrollTo(m_scrollTop);
}

void MenuPopup::exposeEvent(QExposeEvent* event) {
    QRasterWindow::exposeEvent(event);
    if (isExposed())
        takeInput(true);
}

// Only X11 has such trays, and only there a window may grab mouse and keyboard.
void MenuPopup::takeInput(bool takes) {
    if (QGuiApplication::platformName() != u"xcb")
        return;
    setMouseGrabEnabled(takes);
    setKeyboardGrabEnabled(takes);
}

void MenuPopup::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QPalette palette = QGuiApplication::palette();
    painter.fillRect(QRect(QPoint(), size()), palette.window());
    painter.setPen(palette.color(QPalette::Mid));
    painter.drawRect(QRect(QPoint(), size()).adjusted(0, 0, -1, -1));
    painter.translate(0, -m_scrollTop);
    painter.setRenderHint(QPainter::Antialiasing);
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        paintRow(painter, m_rows[i], m_current == i);
}

void MenuPopup::paintRow(QPainter& painter, const Row& row, bool isCurrent) const {
    const QPalette palette = QGuiApplication::palette();
    const MenuItem& item = *row.item;
    const qreal middle = row.rect.center().y() + 0.5;
    if (item.kind == MenuItem::Kind::separator) {
        painter.setPen(palette.color(QPalette::Mid));
        painter.drawLine(QPointF(edge, middle), QPointF(row.rect.right() - edge, middle));
        return;
    }
    if (isCurrent)
        painter.fillRect(row.rect.adjusted(1, 0, -1, 0), palette.highlight());
    const QColor colour = item.isEnabled ? palette.color(isCurrent ? QPalette::HighlightedText : QPalette::WindowText)
                                         : palette.color(QPalette::Disabled, QPalette::WindowText);
    painter.setPen(QPen(colour, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (item.checkState == CheckState::on)
        painter.drawPath(checkMark(squareAt(QPointF(gutter / 2.0, middle), 8)));
    if (!item.submenu.empty())
        painter.fillPath(foldMark(squareAt(QPointF(row.rect.right() - gutter / 2.0, middle), 7), &item == m_unfolded),
                         colour);
    painter.setPen(colour);
    const QRect text = row.rect.adjusted(gutter * (1 + row.depth), 0, -gutter, 0);
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignRight, keyText(item));
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                     metrics().elidedText(item.title, Qt::ElideRight, text.width()));
}

std::optional<std::size_t> MenuPopup::rowAt(const QPoint& position) const {
    if (!QRect(QPoint(), size()).contains(position))
        return std::nullopt;
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        if (m_rows[i].rect.contains(position + QPoint(0, m_scrollTop)))
            return canBeChosen(m_rows[i]) ? std::optional(i) : std::nullopt;
    }
    return std::nullopt;
}

bool MenuPopup::canBeChosen(const Row& row) const {
    return row.item->isEnabled && row.item->kind == MenuItem::Kind::standard;
}

void MenuPopup::setCurrent(std::optional<std::size_t> row) {
    if (m_current == row)
        return;
    m_current = row;
    update();
}

void MenuPopup::moveCurrent(int step) {
    const int count = static_cast<int>(m_rows.size());
    int row = m_current ? static_cast<int>(*m_current) : (step > 0 ? -1 : count);
    for (int tried = 0; tried < count; ++tried) {
        row = (row + step + count) % count;
        if (canBeChosen(m_rows[static_cast<std::size_t>(row)]))
            break;
    }
    setCurrent(static_cast<std::size_t>(row));
    const QRect rect = m_rows[*m_current].rect;
    if (rect.top() < m_scrollTop)
        scrollTo(rect.top() - edge);
    else if (rect.bottom() > m_scrollTop + height())
        scrollTo(rect.bottom() + edge - height());
}

void MenuPopup::scrollTo(int top) {
    m_scrollTop = std::clamp(top, 0, std::max(0, m_contentHeight - height()));
    update();
}

void MenuPopup::setUnfolded(const MenuItem* item) {
    m_unfolded = item;
    m_current.reset();
    layOut();
    update();
}

void MenuPopup::choose(std::size_t row) {
    const MenuItem& item = *m_rows[row].item;
    if (!item.submenu.empty()) {
        setUnfolded(&item == m_unfolded ? nullptr : &item);
        setCurrent(static_cast<std::size_t>(&item - m_menu.data()));
        return;
    }
    finish();
    m_onChosen(item);
}

void MenuPopup::finish() {
    if (!isVisible())
        return;
    takeInput(false);
    hide();
    deleteLater();
    emit closed();
}

void MenuPopup::mouseMoveEvent(QMouseEvent* event) {
    setCurrent(rowAt(event->position().toPoint()));
}

void MenuPopup::mousePressEvent(QMouseEvent* event) {
    m_pressedInside = QRect(QPoint(), size()).contains(event->position().toPoint());
    if (!m_pressedInside)
        finish();
}

// Releasing the button that opened the menu over an item chooses nothing.
void MenuPopup::mouseReleaseEvent(QMouseEvent* event) {
    const auto row = rowAt(event->position().toPoint());
    if (std::exchange(m_pressedInside, false) && row)
        choose(*row);
}

void MenuPopup::wheelEvent(QWheelEvent* event) {
    scrollTo(m_scrollTop - event->angleDelta().y() / 3);
}

void MenuPopup::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        return finish();
    case Qt::Key_Down:
        return moveCurrent(1);
    case Qt::Key_Up:
        return moveCurrent(-1);
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Right:
    case Qt::Key_Left:
        break;
    default:
        return;
    }
    if (!m_current)
        return;
    const MenuItem* const item = m_rows[*m_current].item;
    const bool folds = event->key() == Qt::Key_Right || event->key() == Qt::Key_Left;
    if (!folds || (!item->submenu.empty() && (event->key() == Qt::Key_Right) == (item != m_unfolded)))
        choose(*m_current);
}

} // namespace pelorin
