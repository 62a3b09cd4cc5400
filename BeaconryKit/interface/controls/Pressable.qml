import QtQuick
import Pelorin

// What every control of a row has in common: it acts when press and release both fall on it while it is armed, it can be
// reached with Tab while the panel has the keyboard, and it tells assistive technology what it is.
Item {
    id: control

    required property string name
    property string help: ""
    property HelpTip tip: null
    property int cursor: Qt.PointingHandCursor
    // Whether the row has stood still for long enough. An unarmed control swallows clicks.
    property bool armed: true
    readonly property bool hovered: area.containsMouse
    readonly property bool pressed: area.pressed && area.wasArmed

    signal triggered

    Accessible.description: control.help
    Accessible.name: control.name
    Accessible.role: Accessible.Button
    activeFocusOnTab: true

    onArmedChanged: {
        if (!armed)
            area.wasArmed = false;
    }
    onHoveredChanged: {
        if (hovered && tip)
            tip.show(control, help);
        else if (tip)
            tip.hide(control);
    }

    Accessible.onPressAction: control.triggered()
    Component.onDestruction: {
        if (tip)
            tip.hide(control);
    }
    Keys.onEnterPressed: control.triggered()
    Keys.onReturnPressed: control.triggered()
    Keys.onSpacePressed: control.triggered()

    MouseArea {
        id: area

        // A press counts only if the control was armed then and stayed so until the release.
        property bool wasArmed: false

        anchors.fill: parent
        cursorShape: control.cursor
        hoverEnabled: true

        onClicked: {
            if (wasArmed)
                control.triggered();
        }
        onPressed: wasArmed = control.armed
    }
}
