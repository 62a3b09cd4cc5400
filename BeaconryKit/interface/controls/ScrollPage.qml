import QtQuick
import Pelorin

// A page whose parts stand one under the other, no wider than is good for reading, and which scrolls.
Item {
    id: page

    default property alias content: column.data
    readonly property real greatestWidth: 62 * Theme.textSize

    Flickable {
        id: view

        anchors.fill: parent
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: column.height + 2 * Theme.pageMargin
        contentWidth: width
        interactive: contentHeight > height

        Column {
            id: column

            spacing: Theme.gap
            width: Math.min(page.width - 2 * Theme.pageMargin, page.greatestWidth)
            x: (page.width - width) / 2
            y: Theme.pageMargin
        }
    }

    ScrollMark {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.top: parent.top
        view: view
    }

    FocusFollower {
        view: view
    }
}
