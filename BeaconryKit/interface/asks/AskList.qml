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

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height
    model: actions.asks

    onContentYChanged: {
        if (!moving && !isScrolled)
            shift += contentY - lastContentY;
        lastContentY = contentY;
    }
}
