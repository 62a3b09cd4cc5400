import QtQuick
import Pelorin

// The rows of all open asks.
ListView {
    id: list

    required property AskActions pending

    // Whether the user moves the content by other means than the pointer on it.
    property bool isScrolled: false
    // How far the content has moved by itself; what the user scrolls moves no row away from under a pointer.
    property real shift: 0
    property real lastContentY: 0

    Accessible.name: "Pending"
    Accessible.role: Accessible.List
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height
    model: pending.asks

    delegate: PendingRow {
        readonly property AskRows list: ListView.view as AskRows

        pending: list ? list.pending : null
        shift: list ? list.shift : 0
        width: list ? list.width : 0
    }
    footer: Item {
        height: Theme.pageMargin
    }
    header: Item {
        height: Theme.pageMargin - Theme.gap
    }

    onContentYChanged: {
        if (!moving && !isScrolled)
            shift += contentY - lastContentY;
        lastContentY = contentY;
    }
}
