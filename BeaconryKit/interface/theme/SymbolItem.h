#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// One of our symbols in a scene. It is painted in software at the screen's own resolution. Main thread.
class SymbolItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(SymbolItem)
    /// The symbol's name; empty draws nothing, and a name that is not known draws nothing and warns.
    Q_PROPERTY(QString symbol READ symbol WRITE setSymbol NOTIFY symbolChanged FINAL)
    /// The colour of the whole symbol.
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)

public:
    explicit SymbolItem(QQuickItem* parent = nullptr);

    const QString& symbol() const { return m_symbol; }
    void setSymbol(const QString& symbol);

    const QColor& color() const { return m_color; }
    void setColor(const QColor& color);

    void paint(QPainter* painter) override;

signals:
    void symbolChanged();
    void colorChanged();

private:
    QString m_symbol;
    QColor m_color = Qt::white;
};

} // namespace pelorin
