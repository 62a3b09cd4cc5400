import QtQuick
import Pelorin

// One of a few choices, side by side. The bar is one stop of the Tab key; the arrow keys move within it. What they reach
// is chosen, but for a choice with consequences: that one is chosen by Space or Return only, or by a click.
FocusScope {
    id: bar

    // What is chosen here, for those who hear the window.
    required property string name
    required property list<string> choices
    required property int current
    // Which choice the arrow keys only point at; -1 for none.
    property int graveChoice: -1
    // Where the arrow keys are. They go on from there, past the choice that they do not make.
    property int pointedAt: current

    signal chosen(int index)

    function choose(index: int) {
        if (index >= 0 && index < choices.length && index !== current)
            chosen(index);
        // The choice may have been refused.
        pointedAt = Qt.binding(() => current);
    }

    function stepTo(index: int) {
        if (index < 0 || index >= choices.length)
            return;
        if (index === graveChoice)
            pointedAt = index;
        else
            choose(index);
    }

    Accessible.description: choices[pointedAt] + (pointedAt === current ? "" : ": Space chooses it")
    Accessible.name: name
    Accessible.role: Accessible.Grouping
    activeFocusOnTab: true
    implicitHeight: row.height + 4
    implicitWidth: row.width + 4
    opacity: enabled ? 1 : 0.4

    Keys.onEnterPressed: bar.choose(bar.pointedAt)
    Keys.onLeftPressed: bar.stepTo(bar.pointedAt - 1)
    Keys.onReturnPressed: bar.choose(bar.pointedAt)
    Keys.onRightPressed: bar.stepTo(bar.pointedAt + 1)
    Keys.onSpacePressed: bar.choose(bar.pointedAt)
    onActiveFocusChanged: {
        if (!activeFocus)
            pointedAt = Qt.binding(() => current);
    }

    Rectangle {
        anchors.fill: parent
        border.color: Theme.window.controlBorder
        border.width: 1
        color: Theme.window.track
        radius: Theme.controlRadius + 1
    }

    FocusRing {
        radius: Theme.controlRadius + 4
    }

    Row {
        id: row

        x: 2
        y: 2

        Repeater {
            model: bar.choices

            Pressable {
                id: segment

                required property int index
                required property string modelData

                // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
                readonly property var bar: parent ? parent.parent : null
                readonly property bool isCurrent: bar ? index === bar.current : false
                readonly property bool isPointedAt: bar ? bar.activeFocus && index === bar.pointedAt && !isCurrent : false

                Accessible.checkable: true
                Accessible.checked: isCurrent
                Accessible.role: Accessible.RadioButton
                activeFocusOnTab: false
                cursor: Qt.ArrowCursor
                implicitHeight: label.implicitHeight + 8
                implicitWidth: label.implicitWidth + 20
                name: modelData

                onTriggered: bar.choose(index)

                Rectangle {
                    anchors.fill: parent
                    color: segment.isCurrent ? Theme.window.selectedControl : segment.hovered ? Theme.faded(Theme.window.text, 0.06) : "transparent"
                    border.color: Theme.window.controlBorder
                    border.width: segment.isCurrent ? 1 : 0
                    radius: Theme.controlRadius - 1
                }

                Rectangle {
                    anchors.fill: parent
                    border.color: Theme.window.accent
                    border.width: 2
                    color: "transparent"
                    radius: Theme.controlRadius - 1
                    visible: segment.isPointedAt
                }

                Text {
                    id: label

                    Accessible.ignored: true
                    anchors.centerIn: parent
                    color: segment.isCurrent ? Theme.window.text : Theme.window.secondaryText
                    font.pointSize: Theme.textSize
                    text: segment.name
                    textFormat: Text.PlainText
                }
            }
        }
    }
}
