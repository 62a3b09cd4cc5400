#pragma once

#include "BeaconryKit/interface/status/Menu.h"

#include <QRasterWindow>

#include <functional>
#include <optional>
#include <utility>

namespace pelorin {

/// A menu that we draw ourselves, for trays that only show a picture. An item's submenu unfolds on the side to which
/// there is room, so that the item stays under the pointer; a second click that follows as a double click's does has no
/// effect. An item's key chooses it. Takes mouse and keyboard while it is open; a click elsewhere or Esc closes it, and
/// it deletes itself. Lives on the main thread.
class MenuPopup final : public QRasterWindow {
    Q_OBJECT

public:
    /// `onChosen` is called once the popup has closed, with an enabled item.
    MenuPopup(Menu menu, std::function<void(const MenuItem& item)> onChosen);

    /// Opens beside this point of the screen, wherever there is room.
    void popUp(const QPoint& place);

    /// Where the item of that title stands in the window; empty when it is not laid out. For tests.
    QRect itemRect(const QString& title) const;

    /// How wide the item's title is drawn, and how much room there is for it, in pixels. For tests.
    std::pair<int, int> titleWidths(const QString& title) const;

signals:
    void closed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Row {
        const MenuItem* item;
        int depth;
        QRect rect;
    };

    void layOut();
    void addRows(const Menu& menu, int depth, int& top);
    void addRow(const MenuItem& item, int depth, int& top);
    void place();
    void keepInPlace(const MenuItem* item, int screenTop);
    std::size_t indexOf(const MenuItem* item) const;
    QRect titleRect(const Row& row) const;
    void paintRow(QPainter& painter, const Row& row, bool isCurrent) const;
    std::optional<std::size_t> rowAt(const QPoint& position) const;
    bool canBeChosen(const Row& row) const;
    void setCurrent(std::optional<std::size_t> row);
    void moveCurrent(int step);
    void scrollTo(int top);
    void toggleSubmenu(const MenuItem& item);
    void choose(std::size_t row);
    bool chooseByKey(const QKeyEvent& event);
    static const MenuItem* itemWithKey(const Menu& menu, const QString& key);
    void takeInput(bool takes);
    void finish();

    Menu m_menu;
    std::function<void(const MenuItem&)> m_onChosen;
    std::vector<Row> m_rows;
    std::optional<std::size_t> m_current;
    const MenuItem* m_unfolded = nullptr;
    QPoint m_place;
    bool m_growsUp = false;
    int m_contentHeight = 0;
    int m_scrollTop = 0;
    bool m_pressedInside = false;
    // By the clock that events bear, in milliseconds.
    quint64 m_lastUnfolding = 0;
};

} // namespace pelorin
