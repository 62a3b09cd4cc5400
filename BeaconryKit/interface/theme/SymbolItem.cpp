#include "BeaconryKit/interface/theme/SymbolItem.h"

#include "BeaconryKit/interface/theme/Symbols.h"

#include <QPainter>

namespace pelorin {

SymbolItem::SymbolItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    setImplicitSize(16, 16);
}

void SymbolItem::setSymbol(const QString& symbol) {
    if (m_symbol == symbol)
        return;
    m_symbol = symbol;
    emit symbolChanged();
    update();
}

void SymbolItem::setColor(const QColor& color) {
    if (m_color == color)
        return;
    m_color = color;
    emit colorChanged();
    update();
}

void SymbolItem::paint(QPainter* painter) {
    if (!m_symbol.isEmpty())
        Symbols::draw(*painter, m_symbol, boundingRect(), m_color);
}

} // namespace pelorin
