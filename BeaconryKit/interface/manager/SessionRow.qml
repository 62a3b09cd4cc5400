import QtQuick
import Pelorin

// One session, and what the user wants of it.
Item {
    id: row

    required property color dotColor
    required property bool isMuted
    required property bool isOptedIn
    required property string name
    required property int policyChoice
    required property string sessionId
    required property string sourceLabel
    required property string tty

    required property ManagerFacade manager

    readonly property real pageWidth: Math.min(width - 2 * Theme.pageMargin, 62 * Theme.textSize)

    Accessible.name: name + ", " + tty
    Accessible.role: Accessible.ListItem
    implicitHeight: card.height + Theme.gap + 2

    Card {
        id: card

        height: implicitHeight
        spacing: Theme.gap + 2
        width: row.pageWidth
        x: (row.width - width) / 2
        y: Theme.gap

        Item {
            height: Math.max(names.height, tools.height)
            width: parent.width

            Column {
                id: names

                anchors.left: parent.left
                anchors.right: tools.left
                anchors.rightMargin: Theme.margin
                anchors.verticalCenter: parent.verticalCenter
                spacing: 4

                AskHeader {
                    dotColor: row.dotColor
                    projectName: row.name
                    sourceLabel: row.sourceLabel
                    width: parent.width
                }

                Flow {
                    spacing: Theme.gap
                    width: parent.width

                    CaptionText {
                        font.family: Theme.codeFamily
                        text: row.tty
                        topPadding: 2
                        width: Math.min(implicitWidth, parent.width)
                    }

                    Badge {
                        greatestWidth: parent.width
                        inkColor: Theme.window.accent
                        symbol: "star.circle.fill"
                        text: "Launched via wyrn"
                        visible: row.isOptedIn
                    }
                }
            }

            Row {
                id: tools

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                spacing: Theme.gap

                BodyText {
                    Accessible.ignored: true
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Mute"
                    wrapMode: Text.NoWrap
                }

                ToggleSwitch {
                    anchors.verticalCenter: parent.verticalCenter
                    checked: row.isMuted
                    help: "Nothing of this session is shown"
                    name: "Mute"

                    onToggled: checked => row.manager.setMuted(row.sessionId, checked)
                }

                Item {
                    height: 1
                    width: 2
                }

                PushButton {
                    anchors.verticalCenter: parent.verticalCenter
                    help: "Bring this session's terminal forward"
                    name: "Jump"

                    onTriggered: row.manager.jump(row.sessionId)
                }
            }
        }

        Hairline {
        }

        SettingRow {
            title: "Auto-decision for this session's permission requests"

            ChoiceBar {
                choices: row.manager.policyNames
                current: row.policyChoice
                graveChoice: row.manager.autoAllowChoice
                name: "Auto-decision for this session's permission requests"

                onChosen: index => row.manager.setPolicy(row.sessionId, index)
            }
        }
    }
}
