import QtQuick
import Pelorin

// A line of text with its name before it, or above it where that leaves too little room. A secret is not shown, but can
// be copied.
Item {
    id: labelled

    required property string label
    required property string value
    property string placeholder: ""
    property string mnemonic: ""
    property bool isSecret: false
    property string copyHelp: ""
    property real labelWidth: 10 * Theme.textSize

    readonly property alias text: line.text
    readonly property bool isStacked: words.implicitWidth > labelWidth || width < 34 * Theme.textSize

    signal edited(string text)
    signal finished
    signal copied

    implicitHeight: line.y + line.height
    width: parent ? parent.width : 0

    Shortcut {
        enabled: labelled.mnemonic !== "" && labelled.visible && labelled.enabled
        sequence: labelled.mnemonic === "" ? "" : "Alt+" + labelled.mnemonic

        onActivated: line.takeFocus()
    }

    MnemonicText {
        id: words

        mnemonic: labelled.mnemonic
        name: labelled.label
        width: labelled.isStacked ? labelled.width : labelled.labelWidth
        wrapMode: Text.Wrap
        y: labelled.isStacked ? 0 : (line.height - height) / 2
    }

    TextLine {
        id: line

        isSecret: labelled.isSecret
        name: labelled.label
        placeholder: labelled.placeholder
        value: labelled.value
        width: labelled.width - x - (copy.visible ? copy.width + Theme.gap : 0)
        x: labelled.isStacked ? 0 : labelled.labelWidth + Theme.gap
        y: labelled.isStacked ? words.height + Theme.smallGap : 0

        onEdited: text => labelled.edited(text)
        onFinished: labelled.finished()
    }

    PushButton {
        id: copy

        anchors.right: parent.right
        anchors.verticalCenter: line.verticalCenter
        enabled: labelled.value !== ""
        help: labelled.copyHelp
        name: "Copy"
        visible: labelled.isSecret

        onTriggered: labelled.copied()
    }
}
