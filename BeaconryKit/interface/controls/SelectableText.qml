import QtQuick
import Pelorin

// Text that can be selected and copied, and nothing else.
Item {
    id: selectable

    required property string name
    required property string text

    implicitHeight: words.height + 6

    FocusRing {
        radius: Theme.controlRadius
        target: words
    }

    TextEdit {
        id: words

        Accessible.name: selectable.name
        Accessible.readOnly: true
        Accessible.role: Accessible.EditableText
        activeFocusOnTab: true
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.window.secondaryText
        font.family: Theme.codeFamily
        font.pointSize: Theme.smallTextSize
        readOnly: true
        selectByMouse: true
        selectedTextColor: Theme.window.textOnTint
        selectionColor: Theme.window.accentFill
        text: selectable.text
        textFormat: TextEdit.PlainText
        width: parent.width
        wrapMode: TextEdit.WrapAnywhere

        Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
        Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)

        HoverHandler {
            cursorShape: Qt.IBeamCursor
        }
    }
}
