import QtQuick
import Pelorin

// One tab: its symbol above its name. The arrow keys go from one to the next.
Pressable {
    id: tab

    required property string mnemonic
    required property string symbol
    required property bool isCurrent
    // A number beside the symbol; 0 for none.
    required property int badge

    readonly property color inkColor: isCurrent ? Theme.window.accent : Theme.window.secondaryText

    Accessible.description: badge > 0 ? badge + " waiting" : ""
    Accessible.role: Accessible.PageTab
    Accessible.selectable: true
    Accessible.selected: isCurrent
    cursor: Qt.ArrowCursor
    implicitHeight: 22 + 3 + label.height + 2 * Theme.smallGap
    implicitWidth: Math.max(78, label.implicitWidth + 24)

    Shortcut {
        enabled: tab.enabled
        sequence: "Alt+" + tab.mnemonic

        onActivated: tab.triggered()
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.window.text
        opacity: tab.isCurrent ? 0.08 : tab.hovered ? 0.04 : 0
        radius: Theme.radius - 1
    }

    FocusRing {
        anchors.margins: -1
        radius: Theme.radius
    }

    SymbolItem {
        id: picture

        anchors.horizontalCenter: parent.horizontalCenter
        color: tab.inkColor
        height: 22
        symbol: tab.symbol
        width: 22
        y: Theme.smallGap
    }

    Rectangle {
        anchors.left: picture.right
        anchors.leftMargin: -8
        border.color: Theme.window.bar
        border.width: 1.5
        color: Theme.window.denyFill
        height: number.implicitHeight + 2
        radius: height / 2
        visible: tab.badge > 0
        width: Math.max(height, number.implicitWidth + 10)
        y: 2

        Text {
            id: number

            Accessible.ignored: true
            anchors.centerIn: parent
            color: Theme.window.textOnTint
            font.pointSize: Theme.textSize * 0.75
            font.weight: Font.DemiBold
            text: tab.badge > 999 ? "999+" : tab.badge
            textFormat: Text.PlainText
        }
    }

    MnemonicText {
        id: label

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.smallGap
        anchors.horizontalCenter: parent.horizontalCenter
        color: tab.isCurrent ? Theme.window.accent : Theme.window.text
        font.pointSize: Theme.smallTextSize
        font.weight: tab.isCurrent ? Font.DemiBold : Font.Normal
        mnemonic: tab.mnemonic
        name: tab.name
    }
}
