import QtQuick
import Pelorin

// One line of text that the user may change. It says so with every change and once more when the user is done. Escape
// brings back what stood there before.
Item {
    id: line

    required property string name
    required property string value
    property string placeholder: ""
    // What is not for everybody who sees the screen.
    property bool isSecret: false
    // A draft is nobody's setting: there is nothing to bring back.
    property bool isDraft: false
    readonly property alias text: input.text

    signal edited(string text)
    signal finished
    signal accepted

    // What stood there when the user came, or last was done.
    property string before: ""
    readonly property bool isChanged: !isDraft && input.activeFocus && input.text !== before

    function restore() {
        input.text = before;
        edited(before);
    }

    function takeFocus() {
        input.forceActiveFocus(Qt.ShortcutFocusReason);
        input.selectAll();
    }

    implicitHeight: input.implicitHeight + 12
    implicitWidth: 240
    opacity: enabled ? 1 : 0.5

    // The value that was last shown.
    property string shown: ""

    Component.onCompleted: {
        input.text = value;
        shown = value;
    }
    onValueChanged: {
        // What is being typed and has not been taken yet stays.
        const isTyping = input.activeFocus && input.text !== shown;
        shown = value;
        // Setting what is there already would move the cursor.
        if (input.text === value)
            return;
        before = value;
        if (!isTyping)
            input.text = value;
    }

    Rectangle {
        anchors.fill: parent
        border.color: Theme.window.controlBorder
        border.width: 1
        color: Theme.window.field
        radius: Theme.controlRadius
    }

    FocusRing {
        radius: Theme.controlRadius + 3
        target: input
    }

    TextInput {
        id: input

        Accessible.description: line.placeholder
        Accessible.name: line.name
        Accessible.role: Accessible.EditableText
        activeFocusOnTab: true
        anchors.fill: parent
        anchors.leftMargin: 9
        anchors.rightMargin: 9
        clip: true
        color: Theme.window.text
        echoMode: line.isSecret ? TextInput.Password : TextInput.Normal
        font.pointSize: Theme.textSize
        selectByMouse: true
        selectedTextColor: Theme.window.textOnTint
        selectionColor: Theme.window.accentFill
        verticalAlignment: TextInput.AlignVCenter

        onAccepted: line.accepted()
        // The window has a use for the key, too.
        Keys.onShortcutOverride: event => event.accepted = event.key === Qt.Key_Escape && line.isChanged
        Keys.onEscapePressed: event => {
            event.accepted = line.isChanged;
            if (line.isChanged)
                line.restore();
        }
        onActiveFocusChanged: {
            if (activeFocus)
                line.before = text;
            // The end may have been what was looked at; the beginning tells more.
            if (!activeFocus)
                ensureVisible(0);
        }
        onEditingFinished: {
            line.before = text;
            line.finished();
        }
        onTextEdited: line.edited(text)

        HoverHandler {
            cursorShape: Qt.IBeamCursor
        }
    }

    Text {
        Accessible.ignored: true
        anchors.fill: input
        color: Theme.window.tertiaryText
        elide: Text.ElideRight
        font: input.font
        text: line.placeholder
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        visible: input.text === "" && input.preeditText === ""
    }
}
