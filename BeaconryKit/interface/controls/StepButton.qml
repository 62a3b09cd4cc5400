import QtQuick
import Pelorin

// Makes a number a step larger or smaller. The arrow keys do the same in the number's field, so Tab passes over it.
Pressable {
    id: button

    required property string sign

    activeFocusOnTab: false
    cursor: Qt.ArrowCursor
    implicitHeight: 22
    implicitWidth: 22

    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        color: button.pressed ? Theme.window.controlBorder : button.hovered && button.enabled ? Theme.window.track : "transparent"
        radius: Theme.controlRadius - 2
    }

    Text {
        Accessible.ignored: true
        anchors.centerIn: parent
        color: Theme.window.text
        font.pointSize: Theme.textSize * 1.1
        opacity: button.enabled ? 1 : 0.35
        text: button.sign
        textFormat: Text.PlainText
    }
}
