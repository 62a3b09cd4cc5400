import QtQuick
import Pelorin

// A whole number that can be typed or stepped. What is typed counts once the user is done, and is then shown as it was
// taken, corrected if need be. Escape takes back what was typed.
Item {
    id: line

    required property string name
    required property int value
    required property int from
    required property int to
    property int step: 5

    // Whoever takes the number answers by setting `value`, at once.
    signal committed(int value)

    readonly property bool isChanged: input.activeFocus && input.text !== value.toString()

    function commit() {
        if (input.text !== "" && Number(input.text) !== value)
            committed(Number(input.text));
        input.text = value;
    }

    function stepBy(difference: int) {
        commit();
        committed(Math.max(from, Math.min(to, value + difference)));
        input.text = value;
    }

    Accessible.ignored: true
    implicitHeight: input.implicitHeight + 12
    implicitWidth: digits.width + 22 + 2 * buttons.width

    Component.onCompleted: input.text = value
    onValueChanged: {
        if (!input.activeFocus)
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

    TextMetrics {
        id: digits

        font: input.font
        text: "00000"
    }

    TextInput {
        id: input

        Accessible.name: line.name
        Accessible.role: Accessible.SpinBox
        activeFocusOnTab: true
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.leftMargin: 9
        anchors.right: buttons.left
        anchors.rightMargin: 6
        anchors.top: parent.top
        clip: true
        color: Theme.window.text
        font.pointSize: Theme.textSize
        horizontalAlignment: TextInput.AlignRight
        inputMethodHints: Qt.ImhDigitsOnly
        maximumLength: 6
        selectByMouse: true
        selectedTextColor: Theme.window.textOnTint
        selectionColor: Theme.window.accentFill
        verticalAlignment: TextInput.AlignVCenter

        validator: RegularExpressionValidator {
            regularExpression: /[0-9]*/
        }

        Accessible.onDecreaseAction: line.stepBy(-line.step)
        Accessible.onIncreaseAction: line.stepBy(line.step)
        // The window has a use for the key, too.
        Keys.onShortcutOverride: event => event.accepted = event.key === Qt.Key_Escape && line.isChanged
        Keys.onEscapePressed: event => {
            event.accepted = line.isChanged;
            input.text = line.value;
        }
        Keys.onDownPressed: line.stepBy(-line.step)
        Keys.onUpPressed: line.stepBy(line.step)
        onActiveFocusChanged: {
            if (activeFocus)
                selectAll();
            else
                line.commit();
        }
        onEditingFinished: line.commit()

        HoverHandler {
            cursorShape: Qt.IBeamCursor
        }
    }

    Row {
        id: buttons

        anchors.right: parent.right
        anchors.rightMargin: 1
        anchors.verticalCenter: parent.verticalCenter

        StepButton {
            enabled: line.value > line.from
            name: line.name + ", less"
            sign: "−"

            onTriggered: line.stepBy(-line.step)
        }

        StepButton {
            enabled: line.value < line.to
            name: line.name + ", more"
            sign: "+"

            onTriggered: line.stepBy(line.step)
        }
    }
}
