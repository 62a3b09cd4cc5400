import QtQuick
import Pelorin

// A setting: what it is, its control at the right (below, when it is wide), and what there is to know about it.
Item {
    id: row

    required property string title
    property string caption: ""
    // The symbol before the title; empty for none.
    property string symbol: ""
    property string mnemonic: ""
    default property alias control: holder.data

    readonly property Item controlItem: holder.children.length > 0 ? holder.children[0] : null
    readonly property real controlWidth: controlItem ? controlItem.width : 0
    readonly property real controlHeight: controlItem ? controlItem.height : 0
    readonly property bool isStacked: controlWidth > width * 0.55
    readonly property real titleWidth: isStacked ? width : width - controlWidth - Theme.margin
    readonly property real firstLine: isStacked ? heading.height : Math.max(heading.height, controlHeight)

    implicitHeight: note.visible ? note.y + note.height : isStacked ? holder.y + holder.height : firstLine
    width: parent ? parent.width : 0

    SymbolItem {
        id: picture

        anchors.verticalCenter: heading.verticalCenter
        color: Theme.window.secondaryText
        height: 20
        symbol: row.symbol
        visible: row.symbol !== ""
        width: 20
    }

    MnemonicText {
        id: heading

        Accessible.ignored: true
        mnemonic: row.mnemonic
        name: row.title
        width: row.titleWidth - x
        wrapMode: Text.Wrap
        x: picture.visible ? picture.width + Theme.gap : 0
        y: row.isStacked ? 0 : (row.firstLine - height) / 2
    }

    Item {
        id: holder

        height: row.controlHeight
        width: row.controlWidth
        x: row.isStacked ? 0 : row.width - width
        y: row.isStacked ? heading.height + Theme.gap : (row.firstLine - height) / 2
    }

    CaptionText {
        id: note

        text: row.caption
        visible: text !== ""
        width: row.isStacked ? row.width : Math.min(row.width, row.width - (row.controlWidth > 60 ? 0 : row.controlWidth + Theme.margin))
        y: (row.isStacked ? holder.y + holder.height : row.firstLine) + Theme.smallGap + 1
    }
}
