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

    property ColorSet colors: Theme.window
    property real dotSize: 9
    property int sourceWeight: Font.Normal
    // Whether the names stand in the middle beside a badge, which is higher than they are; else they stand at its top.
    property bool centresNames: false
    property alias badge: agent
    // What stands at the right keeps a distance of its own.
    property real trailingMargin: -5

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
            border.color: header.colors.dotEdge
            border.width: 1.5
            color: header.dotColor
            height: header.dotSize
            radius: height / 2
            width: header.dotSize
        }

        Text {
            id: source

            Accessible.ignored: true
            anchors.verticalCenter: header.centresNames ? parent.verticalCenter : undefined
            color: header.colors.secondaryText
            elide: Text.ElideRight
            font.pointSize: Theme.textSize
            font.weight: header.sourceWeight
            text: header.sourceLabel
            textFormat: Text.PlainText
            width: Math.min(implicitWidth, header.room * 0.3)
        }

        Text {
            Accessible.ignored: true
            anchors.verticalCenter: header.centresNames ? parent.verticalCenter : undefined
            color: header.colors.text
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
        anchors.rightMargin: header.trailingMargin
        anchors.verticalCenter: parent.verticalCenter
    }
}
