import QtQuick
import Pelorin

// Shows which control has the keyboard.
Rectangle {
    property Item target: parent as Item

    anchors.fill: parent
    anchors.margins: -3
    border.color: Theme.window.accent
    border.width: 2
    color: "transparent"
    visible: target !== null && target.activeFocus
}
