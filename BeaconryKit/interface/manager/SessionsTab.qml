import QtQuick
import Pelorin

// All registered sessions.
Item {
    id: tab

    required property ManagerFacade manager

    SessionRows {
        id: list

        anchors.fill: parent
        manager: tab.manager
        visible: count > 0
    }

    ScrollMark {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.top: parent.top
        view: list
    }

    FocusFollower {
        view: list
    }

    EmptyNote {
        anchors.fill: parent
        symbol: "terminal"
        text: "Sessions appear here when they start (SessionStart hook)."
        title: "No live Claude Code sessions registered."
        visible: list.count === 0
    }
}
