import QtQuick
import Pelorin

// The rows of all registered sessions.
ListView {
    id: list

    required property ManagerFacade manager

    Accessible.name: "Sessions"
    Accessible.role: Accessible.List
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    // A current row would draw the keyboard to itself whenever rows come or go.
    currentIndex: -1
    interactive: contentHeight > height
    model: manager.sessions

    delegate: SessionRow {
        // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
        readonly property var list: ListView.view

        manager: list ? list.manager : null
        width: list ? list.width : 0
    }
    footer: Item {
        height: Theme.pageMargin
    }
    header: Item {
        height: Theme.pageMargin - Theme.gap
    }
}
