import QtQuick
import Pelorin

// Shows which part of a view is seen, and moves it.
Item {
    id: mark

    required property Flickable view

    readonly property alias isHeld: area.pressed
    readonly property real range: Math.max(1, view.contentHeight - view.height)
    readonly property real thumbHeight: Math.max(28, height * Math.min(1, view.height / Math.max(1, view.contentHeight)))
    readonly property real travel: Math.max(1, height - thumbHeight)

    Accessible.ignored: true
    visible: view.contentHeight > view.height + 0.5
    width: 12

    Rectangle {
        anchors.right: parent.right
        anchors.rightMargin: 3
        color: Theme.faded(Theme.window.text, area.containsMouse || area.pressed ? 0.65 : 0.5)
        height: mark.thumbHeight
        radius: width / 2
        width: area.containsMouse || area.pressed ? 7 : 5
        y: Math.max(0, Math.min(1, (mark.view.contentY - mark.view.originY) / mark.range)) * mark.travel
    }

    MouseArea {
        id: area

        property real grip: 0

        function moveTo(place: real) {
            mark.view.contentY = mark.view.originY + Math.max(0, Math.min(1, place / mark.travel)) * mark.range;
        }

        anchors.fill: parent
        hoverEnabled: true

        onPositionChanged: mouse => {
            if (pressed)
                moveTo(mouse.y - grip);
        }
        onPressed: mouse => {
            const top = (mark.view.contentY - mark.view.originY) / mark.range * mark.travel;
            const isOnThumb = mouse.y >= top && mouse.y <= top + mark.thumbHeight;
            grip = isOnThumb ? mouse.y - top : mark.thumbHeight / 2;
            moveTo(mouse.y - grip);
        }
    }
}
