import QtQuick
import Pelorin

// The one help text at a time: shown within the panel's own window once the pointer has rested on a control. It stands
// beside the control, and never over the side where the answers are.
Rectangle {
    id: tip

    property Item target: null
    // How much of the right side no help text may cover.
    property real keptFree: 0

    function show(item: Item, text: string) {
        if (text === "")
            return;
        tip.target = item;
        label.text = text;
        const middle = item.mapToItem(tip.parent, 0, item.height / 2);
        const right = Math.min(middle.x, tip.parent.width - tip.keptFree) - Theme.smallGap;
        tip.x = Math.max(Theme.smallGap, right - tip.width);
        tip.y = Math.max(0, Math.min(middle.y - tip.height / 2, tip.parent.height - tip.height));
        appearance.restart();
    }

    function hide(item: Item) {
        if (tip.target !== item)
            return;
        tip.target = null;
        appearance.stop();
        tip.opacity = 0;
    }

    color: Theme.dark.surfaceHovered
    border.color: Theme.dark.hairline
    height: label.implicitHeight + 2 * Theme.smallGap
    opacity: 0
    radius: 6
    visible: opacity > 0
    width: label.implicitWidth + 2 * Theme.gap
    z: 10

    Accessible.ignored: true

    SequentialAnimation {
        id: appearance

        PauseAnimation {
            duration: 500
        }

        NumberAnimation {
            duration: Theme.hoverDuration
            property: "opacity"
            target: tip
            to: 1
        }
    }

    Text {
        id: label

        anchors.centerIn: parent
        color: Theme.dark.text
        font.pointSize: Theme.smallTextSize
        textFormat: Text.PlainText
    }
}
