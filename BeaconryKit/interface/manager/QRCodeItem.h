#pragma once

#include <QQuickPaintedItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// The QR code of a text, with its quiet zone, in the middle of the item. Every module is a square of whole pixels of
/// the screen: the item keeps itself on them, within a pixel of its parent's upper left corner. A text that no code can
/// hold draws nothing. Main thread.
class QRCodeItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(QRCodeItem)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged FINAL)

public:
    explicit QRCodeItem(QQuickItem* parent = nullptr);

    const QString& text() const { return m_text; }
    void setText(const QString& text);

    void paint(QPainter* painter) override;

signals:
    void textChanged();

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void alignToPixels();

    QMetaObject::Connection m_frames;
    QString m_text;
};

} // namespace pelorin
