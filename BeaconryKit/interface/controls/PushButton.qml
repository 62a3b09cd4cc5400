import QtQuick
import Pelorin

// A button that says in words what it does. It is as wide as they are and never wider than it may be; then they wrap.
Pressable {
    id: button

    // What a button does that is meant more than the others, or that is not to be pressed by mistake.
    property color tint: "transparent"
    // The symbol before the words; empty for none.
    property string symbol: ""
    property string mnemonic: ""
    property real availableWidth: 1000

    readonly property bool isTinted: tint.a > 0
    readonly property color inkColor: isTinted ? Theme.window.textOnTint : Theme.window.text
    readonly property real inset: 12

    cursor: Qt.ArrowCursor
    implicitHeight: label.height + 2 * Theme.smallGap + 2
    implicitWidth: label.x + label.width + inset
    opacity: enabled ? (armed ? 1 : 0.55) : 0.4

    Behavior on opacity  {
        NumberAnimation {
            duration: Theme.hoverDuration
        }
    }

    Shortcut {
        autoRepeat: false
        enabled: button.mnemonic !== "" && button.visible && button.enabled
        sequence: button.mnemonic === "" ? "" : "Alt+" + button.mnemonic

        onActivated: {
            button.forceActiveFocus(Qt.ShortcutFocusReason);
            button.press();
        }
    }

    Rectangle {
        readonly property color restColor: button.isTinted ? button.tint : Theme.window.control
        // White words stand on a tint: it does not get lighter.
        readonly property color hoveredColor: Theme.windowIsDark && !button.isTinted ? Qt.lighter(restColor, 1.11) : Qt.darker(restColor, 1.06)

        anchors.fill: parent
        border.color: button.isTinted ? "transparent" : Theme.window.controlBorder
        border.width: button.isTinted ? 0 : 1
        color: button.pressed ? Qt.darker(restColor, 1.14) : button.hovered ? hoveredColor : restColor
        radius: Theme.controlRadius
    }

    FocusRing {
        radius: Theme.controlRadius + 3
    }

    SymbolItem {
        id: picture

        anchors.verticalCenter: parent.verticalCenter
        color: button.inkColor
        height: 14
        symbol: button.symbol
        visible: button.symbol !== ""
        width: 14
        x: button.inset - 2
    }

    MnemonicText {
        id: label

        anchors.verticalCenter: parent.verticalCenter
        color: button.inkColor
        font.weight: button.isTinted ? Font.DemiBold : Font.Normal
        horizontalAlignment: lineCount > 1 ? Text.AlignLeft : Text.AlignHCenter
        mnemonic: button.mnemonic
        name: button.name
        width: Math.min(implicitWidth, button.availableWidth - x - button.inset)
        wrapMode: Text.Wrap
        x: picture.visible ? picture.x + picture.width + 6 : button.inset
    }
}
