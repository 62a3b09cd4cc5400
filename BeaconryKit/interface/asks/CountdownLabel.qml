import QtQuick
import Pelorin

// How long the answer may still be given here. It has no width when there is nothing to say. Its colours are made for
// the dark of the panel, so it brings that with it to other places.
Item {
    id: label

    property bool isOver: false
    property bool isUrgent: false
    property bool bringsDark: false
    required property string text

    readonly property color color: isOver ? Theme.dark.secondaryText : isUrgent ? Theme.dark.orange : Theme.faded(Theme.dark.yellow, 0.7)
    readonly property int padding: 5

    Accessible.ignored: text === ""
    Accessible.name: text
    Accessible.role: Accessible.StaticText
    implicitHeight: content.height + 2 * padding
    implicitWidth: text === "" ? 0 : content.width + 2 * padding
    visible: text !== ""

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: -4
        anchors.rightMargin: -4
        color: Theme.dark.surface
        radius: height / 2
        visible: label.bringsDark
    }

    Row {
        id: content

        anchors.centerIn: parent
        spacing: 4

        SymbolItem {
            anchors.verticalCenter: parent.verticalCenter
            color: label.color
            height: Math.round(words.implicitHeight * 0.75)
            symbol: "clock"
            visible: !label.isOver
            width: height
        }

        Text {
            id: words

            Accessible.ignored: true
            anchors.verticalCenter: parent.verticalCenter
            color: label.color
            font.pointSize: Theme.countdownSize
            font.weight: Font.Medium
            text: label.text
            textFormat: Text.PlainText
        }
    }
}
