import QtQuick
import Pelorin

// One ask, with all the ways to answer it.
AskRow {
    id: row

    required property string question

    readonly property real pageWidth: Math.min(width - 2 * Theme.pageMargin, 62 * Theme.textSize)
    property bool isPlaced: false

    implicitHeight: card.height + Theme.gap + 2

    Component.onCompleted: {
        isPlaced = true;
        actions.noteRowPlace(askId, place);
    }
    onPlaceChanged: {
        if (isPlaced && actions)
            actions.noteRowPlace(askId, place);
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
                bringsDark: true
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
                text: row.unbrokenMessage
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
            id: options

            labels: row.optionLabels
            width: parent.width

            // The linter does not know that a component may use the names around it.
            // qmllint disable unqualified
            button: PushButton {
                required property int index
                required property string modelData

                armed: row.armed
                availableWidth: options.width
                name: modelData

                onTriggered: row.actions.pickOption(row.askId, index)
            }
            // qmllint enable unqualified
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
                isDraft: true
                name: "Reply"
                placeholder: "Type a reply to the session…"
                value: row.draft

                onAccepted: send.press()
                onEdited: text => row.actions.setDraft(row.askId, text)
            }

            PushButton {
                id: send

                anchors.right: parent.right
                anchors.verticalCenter: reply.verticalCenter
                armed: row.armed
                enabled: reply.text.trim() !== ""
                name: "Send"
                tint: Theme.window.accentFill

                onTriggered: row.actions.sendText(row.askId, reply.text)
            }
        }

        Flow {
            spacing: Theme.gap
            width: parent.width

            PushButton {
                armed: row.armed
                enabled: row.takesDecision
                name: "Allow"
                tint: Theme.window.allowFill
                visible: row.isPermission

                onTriggered: row.actions.allow(row.askId)
            }

            PushButton {
                armed: row.armed
                enabled: row.takesDecision
                name: "Deny"
                tint: Theme.window.denyFill
                visible: row.isPermission

                onTriggered: row.actions.deny(row.askId)
            }

            PushButton {
                armed: row.armed
                help: "Answer in the session's terminal"
                name: "Open"

                onTriggered: row.actions.open(row.askId)
            }

            PushButton {
                armed: row.armed
                help: row.isPermission ? "Leave this to the terminal" : "Put this notice away"
                name: "Dismiss"

                onTriggered: row.actions.dismiss(row.askId)
            }

            PushButton {
                armed: row.armed
                help: "The last lines of the session's terminal"
                name: row.expanded ? "Less" : "Details"

                onTriggered: row.actions.setExpanded(row.askId, !row.expanded)
            }
        }
    }
}
