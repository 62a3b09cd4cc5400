import QtQuick
import Pelorin

// The one help text at a time: shown within the panel's own window once the pointer has rested on a control.
Rectangle {
    id: tip

    property Item target: null

    function show(item: Item, text: string) {
        if (text === "")
            return;
        tip.target = item;
        label.text = text;
        const below = item.mapToItem(tip.parent, 0, item.height + Theme.smallGap);
        const above = item.mapToItem(tip.parent, 0, -tip.height - Theme.smallGap);
        const middle = item.mapToItem(tip.parent, item.width / 2, 0).x;
        tip.y = below.y + tip.height + Theme.smallGap <= tip.parent.height ? below.y : Math.max(Theme.smallGap, above.y);
        tip.x = Math.max(Theme.smallGap, Math.min(middle - tip.width / 2, tip.parent.width - tip.width - Theme.smallGap));
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
