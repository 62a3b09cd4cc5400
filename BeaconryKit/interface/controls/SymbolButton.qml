import QtQuick
import Pelorin

// A control that is a symbol.
Pressable {
    id: button

    required property string symbol
    property color color: Theme.dark.secondaryText
    property color hoveredColor: Theme.dark.text
    property real symbolSize: 18

    implicitHeight: symbolSize + 6
    implicitWidth: symbolSize + 6

    Rectangle {
        anchors.fill: parent
        border.color: Theme.dark.accent
        border.width: 2
        color: "transparent"
        radius: height / 2
        visible: button.activeFocus
    }

    SymbolItem {
        anchors.centerIn: parent
        color: button.hovered ? button.hoveredColor : button.color
        height: button.symbolSize
        opacity: button.armed && button.enabled ? 1 : 0.35
        scale: button.pressed ? 0.92 : 1
        symbol: button.symbol
        width: button.symbolSize

        Behavior on opacity  {
            NumberAnimation {
                duration: Theme.hoverDuration
            }
        }
    }
}
