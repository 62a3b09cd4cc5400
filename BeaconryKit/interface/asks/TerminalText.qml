import QtQuick
import Pelorin

// The last lines of a session's terminal. What matters stands at their end, so that is what is shown first. Lines wrap
// between words; what a terminal draws across its whole width ends where the block does.
Rectangle {
    id: block

    property ColorSet colors: Theme.dark
    required property string text

    readonly property int greatestHeight: 220
    readonly property int columns: Math.max(1, Math.floor(view.width / Math.max(1, cell.advanceWidth)))

    // The frame at the end of a line that is too long for the block.
    function withoutFrame(line: string): string {
        return line.length > columns ? line.replace(/\s*[\u2502\u2503\u2551|]?\s*$/, "") : line;
    }

    function fitting(line: string): string {
        const isRule = /^[\s\u2500-\u259F=_*~\-]{4,}$/.test(line);
        return isRule ? line.slice(0, columns) : withoutFrame(line);
    }

    Accessible.name: text
    Accessible.role: Accessible.StaticText
    color: colors.surface
    implicitHeight: Math.min(words.implicitHeight, greatestHeight) + 2 * Theme.gap
    radius: Theme.radius

    TextMetrics {
        id: cell

        font: words.font
        // Where the fixed font has no lines, another one draws them, and may draw them wider.
        text: "\u2500"
    }

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
            // A command must not be broken behind a hyphen: "-" and "rf" are not what "-rf" is.
            text: block.text.split("\n").map(line => block.fitting(line)).join("\n").replace(/-/g, "-\u2060")
            textFormat: Text.PlainText
            width: view.width
            wrapMode: Text.Wrap
        }
    }
}
