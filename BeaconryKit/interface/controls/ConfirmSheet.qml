import QtQuick
import Pelorin

// Asks before something that can't be taken back. It lies over the whole window; the keyboard then goes back to where it
// was.
FocusScope {
    id: sheet

    required property string title
    required property string text
    required property string confirmName

    property bool isOpen: false
    property Item focusBefore: null

    signal confirmed

    function open() {
        focusBefore = Window.activeFocusItem;
        isOpen = true;
        cancel.forceActiveFocus(Qt.PopupFocusReason);
    }

    function close() {
        isOpen = false;
        focus = false;
        if (focusBefore)
            focusBefore.forceActiveFocus(Qt.PopupFocusReason);
        focusBefore = null;
    }

    Accessible.description: text
    Accessible.name: title
    Accessible.role: Accessible.Dialog
    visible: isOpen

    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: Theme.windowIsDark ? 0.55 : 0.3
    }

    // Nothing beneath is to be clicked.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true

        onWheel: wheel => wheel.accepted = true
    }

    Rectangle {
        anchors.centerIn: parent
        border.color: Theme.window.controlBorder
        border.width: 1
        color: Theme.window.surface
        height: column.height + 2 * Theme.pageMargin
        radius: Theme.radius + 3
        width: Math.min(sheet.width - 2 * Theme.pageMargin, 42 * Theme.textSize)

        Column {
            id: column

            spacing: Theme.margin - 4
            width: parent.width - 2 * Theme.pageMargin
            x: Theme.pageMargin
            y: Theme.pageMargin

            BodyText {
                font.pointSize: Theme.textSize * 1.1
                font.weight: Font.DemiBold
                text: sheet.title
                width: parent.width
            }

            BodyText {
                color: Theme.window.secondaryText
                lineHeight: 1.1
                text: sheet.text
                width: parent.width
            }

            Row {
                anchors.right: parent.right
                spacing: Theme.gap
                topPadding: Theme.smallGap

                PushButton {
                    id: cancel

                    name: "Cancel"

                    onTriggered: sheet.close()
                }

                PushButton {
                    name: sheet.confirmName
                    tint: Theme.window.denyFill

                    onTriggered: {
                        sheet.close();
                        sheet.confirmed();
                    }
                }
            }
        }
    }
}
