import QtQuick
import Pelorin

// The last lines of a session's terminal. What matters stands at their end, so that is what is shown first.
Rectangle {
    id: block

    property ColorSet colors: Theme.dark
    required property string text

    readonly property int greatestHeight: 220

    Accessible.name: text
    Accessible.role: Accessible.StaticText
    color: colors.surface
    implicitHeight: Math.min(words.implicitHeight, greatestHeight) + 2 * Theme.gap
    radius: Theme.radius

    Flickable {
        id: view

        anchors.fill: parent
        anchors.margins: Theme.gap
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: words.implicitHeight
        contentWidth: width
        interactive: contentHeight > height

        onContentHeightChanged: contentY = Math.max(0, contentHeight - height)
        onHeightChanged: contentY = Math.max(0, contentHeight - height)

        Text {
            id: words

            Accessible.ignored: true
            color: block.colors.secondaryText
            font.family: Theme.codeFamily
            font.pointSize: Theme.smallTextSize
            text: block.text
            textFormat: Text.PlainText
            width: view.width
            wrapMode: Text.WrapAnywhere
        }
    }
}
