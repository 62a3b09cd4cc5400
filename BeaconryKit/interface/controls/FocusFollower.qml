import QtQuick

// Keeps the control that has the keyboard within the visible part of a view, and lets the keys scroll the view.
Item {
    id: follower

    required property Flickable view

    readonly property Item focusItem: Window.activeFocusItem

    // Whether the view moves because of this.
    property bool isScrolling: false

    function isWithin(item: Item): bool {
        for (let ancestor = item; ancestor; ancestor = ancestor.parent) {
            if (ancestor === view.contentItem)
                return true;
        }
        return false;
    }

    function scrollTo(place: real) {
        isScrolling = true;
        view.contentY = Math.max(view.originY, Math.min(place, view.originY + view.contentHeight - view.height));
        isScrolling = false;
    }

    function scrollBy(pages: real) {
        scrollTo(view.contentY + pages * view.height * 0.9);
    }

    function reveal(item: Item) {
        const margin = 12;
        const top = item.mapToItem(view.contentItem, 0, 0).y - margin;
        const bottom = top + item.height + 2 * margin;
        if (top < view.contentY)
            scrollTo(top);
        else if (bottom > view.contentY + view.height)
            scrollTo(bottom - view.height);
    }

    onFocusItemChanged: {
        if (focusItem && isWithin(focusItem))
            reveal(focusItem);
    }

    Shortcut {
        sequence: "PgDown"

        onActivated: follower.scrollBy(1)
    }

    Shortcut {
        sequence: "PgUp"

        onActivated: follower.scrollBy(-1)
    }
}
