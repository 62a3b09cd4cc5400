import QtQuick
import Pelorin

// What a page says when it has nothing to show.
Item {
    id: note

    required property string title
    property string text: ""
    property string symbol: ""

    Column {
        anchors.centerIn: parent
        anchors.verticalCenterOffset: -12
        spacing: Theme.gap
        width: Math.min(parent.width - 2 * Theme.pageMargin, 40 * Theme.textSize)

        SymbolItem {
            anchors.horizontalCenter: parent.horizontalCenter
            color: Theme.window.tertiaryText
            height: 44
            symbol: note.symbol
            visible: note.symbol !== ""
            width: 44
        }

        Item {
            height: 2
            visible: note.symbol !== ""
            width: 1
        }

        BodyText {
            font.pointSize: Theme.textSize * 1.15
            font.weight: Font.Medium
            horizontalAlignment: Text.AlignHCenter
            text: note.title
            width: parent.width
        }

        BodyText {
            color: Theme.window.secondaryText
            horizontalAlignment: Text.AlignHCenter
            text: note.text
            visible: text !== ""
            width: parent.width
        }
    }
}
