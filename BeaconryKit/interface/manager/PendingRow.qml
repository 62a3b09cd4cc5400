import QtQuick
import Pelorin

// One ask, with all the ways to answer it.
Item {
    id: row

    required property bool acceptsText
    required property string agentType
    required property bool armed
    required property string askId
    required property bool countdownIsOver
    required property bool countdownIsUrgent
    required property string countdownText
    required property string detail
    required property color dotColor
    required property string draft
    required property bool expanded
    required property int index
    required property bool isPermission
    required property string message
    required property list<string> optionLabels
    required property string projectName
    required property string question
    required property string sourceLabel

    required property AskActions pending
    // How far the list has moved by itself.
    required property real shift

    readonly property real place: y - shift
    readonly property real pageWidth: Math.min(width - 2 * Theme.pageMargin, 62 * Theme.textSize)
    property bool isPlaced: false

    Accessible.name: sourceLabel + ", " + projectName + (agentType === "" ? "" : ", sub-agent " + agentType) + ": " + message
    Accessible.role: Accessible.ListItem
    implicitHeight: card.height + Theme.gap + 2

    Component.onCompleted: {
        isPlaced = true;
        pending.noteRowPlace(askId, place);
    }
    onPlaceChanged: {
        if (isPlaced && pending)
            pending.noteRowPlace(askId, place);
    }

    Card {
        id: card

        height: implicitHeight
        spacing: Theme.gap + 2
        width: row.pageWidth
        x: (row.width - width) / 2
        y: Theme.gap

        AskHeader {
            agentType: row.agentType
            dotColor: row.dotColor
            projectName: row.projectName
            sourceLabel: row.sourceLabel
            width: parent.width

            CountdownLabel {
                colors: Theme.window
                isOver: row.countdownIsOver
                isUrgent: row.countdownIsUrgent
                text: row.countdownText
            }
        }

        Rectangle {
            color: row.isPermission ? Theme.window.inset : "transparent"
            height: words.height + 2 * words.y
            radius: Theme.controlRadius
            width: parent.width

            BodyText {
                id: words

                color: row.isPermission ? Theme.window.text : Theme.window.secondaryText
                elide: Text.ElideRight
                font.family: row.isPermission ? Theme.codeFamily : Theme.textFamily
                font.pointSize: row.isPermission ? Theme.codeSize : Theme.textSize
                maximumLineCount: row.expanded ? 24 : 6
                // A command must not be broken behind a hyphen: "-" and "rf" are not what "-rf" is.
                text: row.message.replace(/-/g, "-\u2060")
                width: parent.width - 2 * x
                x: row.isPermission ? 10 : 0
                y: row.isPermission ? 8 : 0
            }
        }

        BodyText {
            text: row.question
            visible: text !== ""
            width: parent.width
        }

        TerminalText {
            color: Theme.window.inset
            colors: Theme.window
            text: row.detail
            visible: row.expanded && row.detail !== ""
            width: parent.width
        }

        OptionFlow {
            armed: row.armed
            labels: row.optionLabels
            visible: row.optionLabels.length > 0
            width: parent.width

            onPicked: index => row.pending.pickOption(row.askId, index)
        }

        Item {
            height: reply.height
            visible: row.acceptsText
            width: parent.width

            TextLine {
                id: reply

                anchors.left: parent.left
                anchors.right: send.left
                anchors.rightMargin: Theme.gap
                name: "Reply"
                placeholder: "Type a reply to the session…"
                value: row.draft

                onAccepted: row.pending.sendText(row.askId, text)
                onEdited: text => row.pending.setDraft(row.askId, text)
            }

            PushButton {
                id: send

                anchors.right: parent.right
                anchors.verticalCenter: reply.verticalCenter
                enabled: reply.text.trim() !== ""
                name: "Send"
                tint: Theme.window.accentFill

                onTriggered: row.pending.sendText(row.askId, reply.text)
            }
        }

        Flow {
            spacing: Theme.gap
            width: parent.width

            PushButton {
                armed: row.armed
                name: "Allow"
                tint: Theme.window.allowFill
                visible: row.isPermission

                onTriggered: row.pending.allow(row.askId)
            }

            PushButton {
                armed: row.armed
                name: "Deny"
                tint: Theme.window.denyFill
                visible: row.isPermission

                onTriggered: row.pending.deny(row.askId)
            }

            PushButton {
                armed: row.armed
                help: "Answer in the session's terminal"
                name: "Open"

                onTriggered: row.pending.open(row.askId)
            }

            PushButton {
                armed: row.armed
                help: row.isPermission ? "Leave this to the terminal" : "Put this notice away"
                name: "Dismiss"

                onTriggered: row.pending.dismiss(row.askId)
            }

            PushButton {
                armed: row.armed
                help: "The last lines of the session's terminal"
                name: row.expanded ? "Less" : "Details"

                onTriggered: row.pending.setExpanded(row.askId, !row.expanded)
            }
        }
    }
}
