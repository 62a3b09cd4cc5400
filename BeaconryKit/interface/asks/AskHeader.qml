import QtQuick
import Pelorin

// Who asks: the CLI, the project and, if it is one, the sub-agent. What is given to it stands at the right.
Item {
    id: header

    required property string sourceLabel
    required property string projectName
    required property color dotColor
    property string agentType: ""
    default property alias trailing: holder.data

    readonly property real room: width - holder.width - Theme.gap

    implicitHeight: Math.max(names.height, 22)

    Row {
        id: names

        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.gap

        Rectangle {
            id: dot

            Accessible.ignored: true
            anchors.verticalCenter: parent.verticalCenter
            color: header.dotColor
            height: 9
            radius: height / 2
            width: 9
        }

        Text {
            id: source

            Accessible.ignored: true
            color: Theme.window.secondaryText
            elide: Text.ElideRight
            font.pointSize: Theme.textSize
            text: header.sourceLabel
            textFormat: Text.PlainText
            width: Math.min(implicitWidth, header.room * 0.3)
        }

        Text {
            Accessible.ignored: true
            color: Theme.window.text
            elide: Text.ElideRight
            font.pointSize: Theme.textSize
            font.weight: Font.DemiBold
            text: header.projectName
            textFormat: Text.PlainText
            width: Math.min(implicitWidth, header.room - dot.width - source.width - 2 * names.spacing - (agent.visible ? agent.width + names.spacing : 0))
        }

        Badge {
            id: agent

            anchors.verticalCenter: parent.verticalCenter
            greatestWidth: header.room * 0.3
            symbol: "arrow.turn.down.right"
            text: header.agentType
            visible: text !== ""
        }
    }

    Row {
        id: holder

        anchors.right: parent.right
        // What stands here keeps a distance of its own.
        anchors.rightMargin: -5
        anchors.verticalCenter: parent.verticalCenter
    }
}
