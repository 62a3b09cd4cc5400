import QtQuick
import Pelorin

// What hangs from the top of the screen. The window gives it its size, which is on its way to the one wanted here while
// the panel grows or shrinks; the rows are laid out at the final width all the while.
Item {
    id: content

    required property PanelFacade panel
    // The width that the panel has, or will have once it has stopped moving.
    property real layoutWidth: implicitWidth

    readonly property real bottomPadding: 2
    readonly property real topPadding: panel.topInset + 2

    function layOut() {
        head.forceLayout();
        list.layOut();
    }

    Accessible.name: "Pelorin"
    Accessible.role: Accessible.List
    clip: true
    implicitHeight: topPadding + head.height + Math.min(list.contentHeight, list.height) + bottomPadding
    // What does not wrap or shorten: the header's tools with the longest countdown, and a few words beside them.
    implicitWidth: longestCountdown.implicitWidth + 3 * 24 + 20 * Theme.textSize + 2 * Theme.margin

    Connections {
        function onTypingRowChanged() {
            if (content.panel.typingRow === "")
                content.forceActiveFocus();
        }

        target: content.panel
    }

    CountdownLabel {
        id: longestCountdown

        // It only measures.
        Accessible.ignored: true
        opacity: 0
        text: "580s left"
    }

    // Taller than what is seen of it by the round corners of its top.
    Rectangle {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.topMargin: -content.panel.cornerRadius
        border.color: Theme.dark.hairline
        border.width: 1
        color: Theme.dark.background
        radius: content.panel.cornerRadius
    }

    PanelHead {
        id: head

        panel: content.panel
        width: content.layoutWidth
        x: (content.width - content.layoutWidth) / 2
        y: content.topPadding
    }

    PanelList {
        id: list

        height: Math.max(0, content.panel.maximumHeight - content.topPadding - head.height - content.bottomPadding)
        panel: content.panel
        tip: helpTip
        width: content.layoutWidth
        x: (content.width - content.layoutWidth) / 2
        y: content.topPadding + head.height
    }

    Rectangle {
        anchors.right: parent.right
        anchors.rightMargin: 3
        color: Theme.faded(Theme.dark.text, 0.4)
        height: Math.max(24, list.height * list.visibleArea.heightRatio)
        radius: 1.5
        visible: list.visibleArea.heightRatio < 1 && list.contentHeight > list.height
        width: 3
        y: list.y + (list.height - height) * (list.visibleArea.heightRatio < 1 ? list.visibleArea.yPosition / (1 - list.visibleArea.heightRatio) : 0)
    }

    // There is more below.
    Rectangle {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 1
        anchors.left: parent.left
        anchors.leftMargin: content.panel.cornerRadius
        anchors.right: parent.right
        anchors.rightMargin: content.panel.cornerRadius
        height: 28
        visible: list.interactive && !list.atYEnd

        gradient: Gradient {
            GradientStop {
                color: Theme.faded(Theme.dark.background, 0)
                position: 0
            }

            GradientStop {
                color: Theme.dark.background
                position: 1
            }
        }
    }

    // Shown anew for each ask that comes, which is what a screen reader goes by. There is nothing to see.
    Item {
        id: alert

        Accessible.name: content.panel.alert
        Accessible.role: Accessible.AlertMessage
        height: 1
        objectName: "alert"
        visible: content.panel.alert !== ""
        width: 1
    }

    HelpTip {
        id: helpTip

        keptFree: list.answersWidth
    }
}
