import QtQuick
import Pelorin

// The rows of all open asks, one under the other.
ListView {
    id: list

    required property AskActions actions

    // Whether the user moves the content by other means than the pointer on it.
    property bool isScrolled: false
    // How far the content has moved by itself, as it does when rows go from under the visible part. What the user scrolls
    // is not counted: that moves no row away from under a pointer that was aiming at it.
    property real shift: 0
    property real lastContentY: 0
    // What had the keyboard on a row that goes: the next row, and the control's name.
    property string nextAskId: ""
    property string focusedName: ""

    function rowOf(item) {
        while (item && !(item instanceof AskRow))
            item = item.parent;
        return item;
    }

    // The control of that name below the item, or the first one for an empty name; null where there is none.
    function controlOf(item, name) {
        if (!item.visible || !item.enabled)
            return null;
        if (item.activeFocusOnTab && (name === "" || item.name === name))
            return item;
        for (let i = 0; i < item.children.length; ++i) {
            const found = controlOf(item.children[i], name);
            if (found)
                return found;
        }
        return null;
    }

    function nameOf(item) {
        return item.name || "";
    }

    function noteFocus(first, last) {
        const focused = Window.activeFocusItem;
        const row = rowOf(focused);
        if (!row || row.index < first || row.index > last)
            return;
        const next = (itemAtIndex(last + 1) || itemAtIndex(first - 1)) as AskRow;
        if (!next)
            return;
        nextAskId = next.askId;
        focusedName = nameOf(focused);
        Qt.callLater(passFocusOn);
    }

    function passFocusOn() {
        for (let i = 0; i < contentItem.children.length; ++i) {
            const row = contentItem.children[i];
            if (!(row instanceof AskRow) || row.askId !== nextAskId)
                continue;
            const control = controlOf(row, focusedName) || controlOf(row, "");
            if (control)
                control.forceActiveFocus(Qt.OtherFocusReason);
        }
    }

    boundsBehavior: Flickable.StopAtBounds
    // A current row would draw the keyboard to itself whenever rows come or go.
    currentIndex: -1
    clip: true
    interactive: contentHeight > height
    model: actions.asks

    Connections {
        function onRowsAboutToBeRemoved(parent, first, last) {
            list.noteFocus(first, last);
        }

        target: list.model
    }

    onContentYChanged: {
        if (!moving && !isScrolled)
            shift += contentY - lastContentY;
        lastContentY = contentY;
    }
}
