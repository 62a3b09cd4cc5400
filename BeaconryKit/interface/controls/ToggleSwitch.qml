import QtQuick
import Pelorin

// Something that is on or off. It shows what it is told, and says what the user wants.
Pressable {
    id: toggle

    required property bool checked
    property string mnemonic: ""

    signal toggled(bool checked)

    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.role: Accessible.CheckBox
    cursor: Qt.ArrowCursor
    implicitHeight: 22
    implicitWidth: 38
    opacity: enabled ? 1 : 0.4

    Accessible.onToggleAction: toggle.press()
    onTriggered: toggle.toggled(!toggle.checked)

    Shortcut {
        autoRepeat: false
        enabled: toggle.mnemonic !== "" && toggle.visible && toggle.enabled
        sequence: toggle.mnemonic === "" ? "" : "Alt+" + toggle.mnemonic

        onActivated: {
            toggle.forceActiveFocus(Qt.ShortcutFocusReason);
            toggle.press();
        }
    }

    Rectangle {
        anchors.fill: parent
        border.color: Theme.window.controlBorder
        border.width: toggle.checked ? 0 : 1
        color: toggle.checked ? Theme.window.accentFill : Theme.window.track
        radius: height / 2
    }

    FocusRing {
        radius: height / 2
    }

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        border.color: toggle.checked ? "transparent" : Theme.window.controlBorder
        border.width: 1
        color: "#ffffff"
        height: parent.height - 4
        radius: height / 2
        width: height
        x: toggle.checked ? toggle.width - width - 2 : 2

        Behavior on x  {
            NumberAnimation {
                duration: Theme.hoverDuration
            }
        }
    }
}
