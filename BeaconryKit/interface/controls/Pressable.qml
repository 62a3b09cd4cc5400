import QtQuick
import Pelorin

// What every control of a row has in common: it acts when press and release both fall on it while it is armed, it can be
// reached with Tab while the window has the keyboard, and it tells assistive technology what it is.
Item {
    id: control

    required property string name
    property string help: ""
    property HelpTip tip: null
    property int cursor: Qt.PointingHandCursor
    // Whether the row has stood still for long enough. An unarmed control swallows clicks and keys.
    property bool armed: true
    readonly property bool hovered: area.containsMouse
    readonly property bool pressed: area.pressed && area.wasArmed

    signal triggered

    // What every way to use the control comes to.
    function press() {
        if (enabled && armed)
            triggered();
    }

    // A key that is held down is one press: the focus may be on another row's control by now.
    function pressByKey(event: KeyEvent) {
        if (!event.isAutoRepeat)
            press();
    }

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

    Accessible.onPressAction: control.press()
    Component.onDestruction: {
        if (tip)
            tip.hide(control);
    }
    Keys.onEnterPressed: event => control.pressByKey(event)
    Keys.onReturnPressed: event => control.pressByKey(event)
    Keys.onSpacePressed: event => control.pressByKey(event)

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
