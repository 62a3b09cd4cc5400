import QtQuick
import Pelorin

// One of the terminal prompt's options, as wide as its text and never wider than its row.
Pressable {
    id: button

    required property real availableWidth

    implicitHeight: label.implicitHeight + 2 * Theme.smallGap + 2
    implicitWidth: Math.min(label.implicitWidth + 2 * Theme.gap + 6, availableWidth)

    Rectangle {
        anchors.fill: parent
        border.color: button.activeFocus ? Theme.dark.accent : Theme.dark.controlBorder
        border.width: button.activeFocus ? 2 : 1
        color: button.hovered ? Theme.dark.surfaceHovered : Theme.dark.surface
        opacity: button.armed ? 1 : 0.35
        radius: Theme.radius
    }

    Text {
        id: label

        anchors.centerIn: parent
        color: Theme.dark.text
        elide: Text.ElideRight
        font.pointSize: Theme.smallTextSize
        opacity: button.armed ? 1 : 0.35
        text: button.name
        textFormat: Text.PlainText
        width: Math.min(implicitWidth, button.width - 2 * Theme.gap)

        Behavior on opacity  {
            NumberAnimation {
                duration: Theme.hoverDuration
            }
        }
    }
}
