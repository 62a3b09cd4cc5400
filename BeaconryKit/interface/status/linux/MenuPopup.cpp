#include "BeaconryKit/interface/status/linux/MenuPopup.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QScreen>
#include <QStyleHints>
#include <QtMath>

#include <algorithm>
#include <cmath>

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

/// The mark of a session that was opted in, which many fonts don't have: it is drawn.
const auto starMark = QStringLiteral("\u2B51 ");

bool hasStar(const QString& title) {
    return title.startsWith(starMark);
}

QString textOf(const QString& title) {
    return hasStar(title) ? title.sliced(starMark.size()) : title;
}

int starWidth(const QString& title) {
    return hasStar(title) ? metrics().height() : 0;
}

int widthOf(const QString& text) {
    // A text is drawn in fractions of a pixel, and cut where it has a fraction too little.
    return qCeil(QFontMetricsF(QGuiApplication::font()).horizontalAdvance(text)) + 1;
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

/// Points to the right, or to where the submenu is.
QPainterPath foldMark(const QRectF& box, bool isUnfolded, bool growsUp) {
    QPainterPath path;
    if (!isUnfolded)
        path.addPolygon(QPolygonF({box.topLeft(), {box.right(), box.center().y()}, box.bottomLeft()}));
    else if (growsUp)
        path.addPolygon(QPolygonF({box.bottomLeft(), {box.center().x(), box.top()}, box.bottomRight()}));
    else
        path.addPolygon(QPolygonF({box.topLeft(), {box.center().x(), box.bottom()}, box.topRight()}));
    return path;
}

QPainterPath star(const QRectF& box) {
    constexpr int points = 5;
    constexpr qreal innerRadius = 0.4;
    QPolygonF outline;
    for (int corner = 0; corner < 2 * points; ++corner) {
        const qreal angle = corner * M_PI / points;
        const qreal radius = box.width() / 2 * (corner % 2 == 0 ? 1 : innerRadius);
        outline << box.center() + QPointF(std::sin(angle), -std::cos(angle)) * radius;
    }
    outline << outline.first();
    QPainterPath path;
    path.addPolygon(outline);
    return path;
}

int widthFor(const MenuItem& item, int depth) {
    const QString key = keyText(item);
    int width = gutter * (2 + depth) + starWidth(item.title) + widthOf(textOf(item.title)) +
                (key.isEmpty() ? 0 : gutter + widthOf(key));
    // The submenu has its room before it unfolds.
    for (const MenuItem& child : item.submenu)
        width = std::max(width, widthFor(child, depth + 1));
    return width;
}

/// The screen that the point is on, or the primary one.
QRect screenAt(const QPoint& place) {
    const QScreen* screen = QGuiApplication::screenAt(place);
    return (screen ? screen : QGuiApplication::primaryScreen())->geometry();
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
    for (const MenuItem& item : m_menu)
        width = std::max(width, widthFor(item, 0));
    width = std::min(width, widest);
    for (Row& row : m_rows)
        row.rect.setWidth(width);
}

std::pair<int, int> MenuPopup::titleWidths(const QString& title) const {
    const auto row = std::ranges::find_if(m_rows, [&](const Row& each) { return each.item->title == title; });
    return row == m_rows.end() ? std::pair(0, 0) : std::pair(widthOf(textOf(title)), titleRect(*row).width());
}

void MenuPopup::addRows(const Menu& menu, int depth, int& top) {
    for (const MenuItem& item : menu) {
        const bool isUnfolded = &item == m_unfolded;
        if (isUnfolded && m_growsUp)
            addRows(item.submenu, depth + 1, top);
        addRow(item, depth, top);
        if (isUnfolded && !m_growsUp)
            addRows(item.submenu, depth + 1, top);
    }
}

void MenuPopup::addRow(const MenuItem& item, int depth, int& top) {
    const int height = item.kind == MenuItem::Kind::separator ? separatorHeight : metrics().height() + 2 * rowPadding;
    m_rows.push_back({&item, depth, QRect(0, top, 0, height)});
    top += height;
}

QRect MenuPopup::titleRect(const Row& row) const {
    return row.rect.adjusted(gutter * (1 + row.depth) + starWidth(row.item->title), 0, -gutter, 0);
}

// Grows away from the nearest edges of the screen, and scrolls where it is higher than the screen.
void MenuPopup::place() {
    const QRect room = screenAt(m_place);
    const QSize size(m_rows.empty() ? 0 : m_rows.front().rect.width(), std::min(m_contentHeight, room.height()));
    QPoint corner = m_place;
    if (corner.x() + size.width() > room.right())
        corner.rx() -= size.width();
    m_growsUp = corner.y() + size.height() > room.bottom();
    if (m_growsUp)
        corner.ry() -= size.height();
    corner.setX(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() + 1 - size.width())));
    corner.setY(std::clamp(corner.y(), room.top(), std::max(room.top(), room.bottom() + 1 - size.height())));
    setGeometry(QRect(corner, size));
    scrollTo(m_scrollTop);
}

// The item keeps its height on the screen, wherever there is room for that.
void MenuPopup::keepInPlace(const MenuItem* item, int screenTop) {
    const QRect room = screenAt(m_place);
    const int height = std::min(m_contentHeight, room.height());
    const int itemTop = m_rows[indexOf(item)].rect.top();
    const int top = std::clamp(screenTop - itemTop, room.top(), room.bottom() + 1 - height);
    setGeometry(x(), top, width(), height);
    scrollTo(itemTop - (screenTop - top));
}

std::size_t MenuPopup::indexOf(const MenuItem* item) const {
    const auto row = std::ranges::find(m_rows, item, &Row::item);
    return static_cast<std::size_t>(row - m_rows.begin());
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
        painter.fillPath(
            foldMark(squareAt(QPointF(row.rect.right() - gutter / 2.0, middle), 7), &item == m_unfolded, m_growsUp),
            colour);
    painter.setPen(colour);
    const QRect text = titleRect(row);
    if (const int side = starWidth(item.title); side > 0)
        painter.fillPath(star(squareAt(QPointF(text.left() - side / 2.0, middle), side * 0.7)), colour);
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignRight, keyText(item));
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                     metrics().elidedText(textOf(item.title), Qt::ElideRight, text.width()));
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

void MenuPopup::toggleSubmenu(const MenuItem& item) {
    const int screenTop = y() + m_rows[indexOf(&item)].rect.top() - m_scrollTop;
    m_unfolded = &item == m_unfolded ? nullptr : &item;
    m_current.reset();
    layOut();
    keepInPlace(&item, screenTop);
    setCurrent(indexOf(&item));
}

void MenuPopup::choose(std::size_t row) {
    const MenuItem& item = *m_rows[row].item;
    if (!item.submenu.empty())
        return toggleSubmenu(item);
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
    const bool isInside = QRect(QPoint(), size()).contains(event->position().toPoint());
    if (!isInside)
        return finish();
    // Whoever clicks twice has not seen yet what the first click has unfolded.
    const auto patience = static_cast<quint64>(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    m_pressedInside = m_lastUnfolding == 0 || event->timestamp() - m_lastUnfolding >= patience;
}

// Releasing the button that opened the menu over an item chooses nothing.
void MenuPopup::mouseReleaseEvent(QMouseEvent* event) {
    const auto row = rowAt(event->position().toPoint());
    if (!std::exchange(m_pressedInside, false) || !row)
        return;
    const bool folds = !m_rows[*row].item->submenu.empty();
    choose(*row);
    if (folds)
        m_lastUnfolding = event->timestamp();
}

void MenuPopup::wheelEvent(QWheelEvent* event) {
    scrollTo(m_scrollTop - event->angleDelta().y() / 3);
}

const MenuItem* MenuPopup::itemWithKey(const Menu& menu, const QString& key) {
    const auto item = std::ranges::find_if(menu, [&](const MenuItem& each) {
        return each.isEnabled && !each.keyEquivalent.isEmpty() && each.keyEquivalent == key;
    });
    return item == menu.end() ? nullptr : &*item;
}

bool MenuPopup::chooseByKey(const QKeyEvent& event) {
    if (event.modifiers() != Qt::ControlModifier)
        return false;
    const MenuItem* const item = itemWithKey(m_menu, QKeySequence(event.key()).toString().toLower());
    if (item)
        choose(indexOf(item));
    return item;
}

void MenuPopup::keyPressEvent(QKeyEvent* event) {
    if (chooseByKey(*event))
        return;
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
