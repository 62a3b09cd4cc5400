import QtQuick
import Pelorin

// All open asks.
Item {
    id: tab

    required property ManagerFacade manager

    PendingList {
        id: list

        actions: tab.manager.pending
        anchors.fill: parent
        isScrolled: scrollMark.isHeld || follower.isScrolling
        visible: count > 0
    }

    ScrollMark {
        id: scrollMark

        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.top: parent.top
        view: list
    }

    FocusFollower {
        id: follower

        view: list
    }

    EmptyNote {
        anchors.fill: parent
        symbol: "checkmark.circle"
        title: "Nothing is waiting for you."
        visible: list.count === 0
    }
}
