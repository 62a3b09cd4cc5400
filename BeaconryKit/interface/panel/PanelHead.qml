import QtQuick
import Pelorin

// What the panel says of itself, above its rows. It has no height when there is nothing to say.
Column {
    id: head

    required property PanelFacade panel

    bottomPadding: panel.allowsEverything || panel.announcement !== "" ? Theme.smallGap : 0
    leftPadding: Theme.margin
    rightPadding: Theme.margin
    spacing: Theme.smallGap
    topPadding: bottomPadding

    BodyText {
        color: Theme.dark.orange
        font.pointSize: Theme.smallTextSize
        text: "Auto-allow is on: every permission request is approved without asking."
        visible: head.panel.allowsEverything
        width: head.width - 2 * Theme.margin
    }

    BodyText {
        color: Theme.dark.text
        font.pointSize: Theme.smallTextSize
        text: head.panel.announcement
        visible: text !== ""
        width: head.width - 2 * Theme.margin
    }
}
