#pragma once

#include <QRasterWindow>

namespace pelorin {

/// A line of text beside the pointer, for a tray that shows none of its own. Takes no input. Lives on the main thread.
class TipWindow final : public QRasterWindow {
    Q_OBJECT

public:
    TipWindow();

    /// Shows the text near this point of the screen, beside which it stays when the text changes.
    void showAt(const QPoint& place, const QString& text);
    void setText(const QString& text);
    const QString& text() const { return m_text; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void place();

    QString m_text;
    QPoint m_place;
};

} // namespace pelorin
