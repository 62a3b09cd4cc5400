import QtQuick
import Pelorin

// A block that stands out from the window: its parts stand one under the other, apart by thin lines.
Rectangle {
    id: card

    default property alias content: column.data
    property alias spacing: column.spacing

    border.color: Theme.window.hairline
    border.width: 1
    color: Theme.window.surface
    implicitHeight: column.height + 2 * Theme.margin - 4
    radius: Theme.radius + 1

    Column {
        id: column

        anchors.left: parent.left
        anchors.leftMargin: Theme.margin
        anchors.right: parent.right
        anchors.rightMargin: Theme.margin
        spacing: Theme.margin - 4
        y: Theme.margin - 2
    }
}
