import QtQuick
import Pelorin

// What stands above a card, with its symbol if it has one.
Item {
    id: title

    required property string text
    property string symbol: ""

    Accessible.name: text
    Accessible.role: Accessible.Heading
    implicitHeight: words.height
    width: parent ? parent.width : 0

    SymbolItem {
        id: picture

        anchors.verticalCenter: parent.verticalCenter
        color: Theme.window.accent
        height: 18
        symbol: title.symbol
        visible: title.symbol !== ""
        width: 18
    }

    Text {
        id: words

        Accessible.ignored: true
        color: Theme.window.text
        font.pointSize: Theme.textSize * 1.05
        font.weight: Font.DemiBold
        text: title.text
        textFormat: Text.PlainText
        width: title.width - x
        wrapMode: Text.Wrap
        x: picture.visible ? picture.width + Theme.gap : 2
    }
}
