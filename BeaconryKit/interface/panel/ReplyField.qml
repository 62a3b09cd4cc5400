import QtQuick
import Pelorin

// The line in which a reply to the session is typed, and the button that sends it.
Item {
    id: field

    // Whether the row still asks what it asked when the user saw it.
    property bool armed: true
    required property string draft
    property HelpTip tip: null

    // The user has put the cursor here.
    signal entered
    // The user wants no more of the keyboard.
    signal abandoned
    signal edited(string text)
    signal sent(string text)

    implicitHeight: Math.max(input.implicitHeight + 2 * Theme.gap, 30)

    Component.onCompleted: input.text = field.draft

    Rectangle {
        id: frame

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: send.left
        anchors.rightMargin: Theme.gap
        anchors.top: parent.top
        border.color: input.activeFocus ? Theme.dark.accent : Theme.dark.controlBorder
        border.width: 1
        color: Theme.dark.surface
        radius: Theme.radius

        TextInput {
            id: input

            Accessible.description: placeholder.text
            Accessible.name: "Reply"
            Accessible.role: Accessible.EditableText
            activeFocusOnTab: true
            anchors.fill: parent
            anchors.leftMargin: Theme.gap + 2
            anchors.rightMargin: Theme.gap + 2
            clip: true
            color: Theme.dark.text
            font.pointSize: Theme.textSize
            selectByMouse: true
            selectedTextColor: Theme.dark.background
            selectionColor: Theme.dark.accent
            verticalAlignment: TextInput.AlignVCenter

            Keys.onEscapePressed: field.abandoned()
            onAccepted: {
                if (field.armed)
                    field.sent(text);
            }
            onActiveFocusChanged: {
                if (activeFocus)
                    field.entered();
            }
            onTextEdited: field.edited(text)

            // Before the click is handled: the cursor is to stand where it went down.
            TapHandler {
                onPressedChanged: {
                    if (pressed) {
                        input.forceActiveFocus();
                        field.entered();
                    }
                }
            }

            Text {
                id: placeholder

                Accessible.ignored: true
                anchors.fill: parent
                color: Theme.dark.tertiaryText
                elide: Text.ElideRight
                font: input.font
                text: "Type a reply to the session…"
                textFormat: Text.PlainText
                verticalAlignment: Text.AlignVCenter
                visible: input.text === "" && input.preeditText === ""
            }
        }
    }

    SymbolButton {
        id: send

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        armed: field.armed
        color: Theme.dark.accent
        enabled: input.text.trim() !== ""
        hoveredColor: Qt.lighter(Theme.dark.accent, 1.15)
        name: "Send"
        opacity: enabled ? 1 : 0.4
        symbol: "paperplane.circle.fill"
        symbolSize: 26
        tip: field.tip

        onTriggered: field.sent(input.text)
    }
}
