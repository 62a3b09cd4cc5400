import QtQuick
import Pelorin

// The code that a phone scans, and what to do with it.
Item {
    id: code

    required property PhoneSetup phone

    readonly property bool isStacked: width < 40 * Theme.textSize
    readonly property real textWidth: isStacked ? width : width - plate.width - Theme.pageMargin

    implicitHeight: isStacked ? steps.y + steps.height : Math.max(plate.height, steps.height)

    // A scanner wants dark on light, whatever the window's colours are.
    Rectangle {
        id: plate

        border.color: Theme.window.hairline
        border.width: 1
        color: "#ffffff"
        height: 176 + 2
        radius: 4
        width: 176 + 2
        x: code.isStacked ? Math.round((code.width - width) / 2) : 0

        Item {
            x: 1
            y: 1

            QRCodeItem {
                Accessible.name: "Setup code"
                Accessible.role: Accessible.Graphic
                height: 176
                text: code.phone.setupLink
                width: 176
            }
        }
    }

    Column {
        id: steps

        spacing: Theme.gap
        width: code.textWidth
        x: code.isStacked ? 0 : plate.width + Theme.pageMargin
        y: code.isStacked ? plate.height + Theme.margin : 0

        BodyText {
            font.weight: Font.DemiBold
            text: "Set up each phone (once):"
            width: parent.width
        }

        BodyText {
            lineHeight: 1.3
            text: "1. Scan the code (or open the link) in Safari.\n2. Share → Add to Home Screen.\n3. Open Pelorin from the Home Screen → tap “Enable alerts” → Allow."
            width: parent.width
        }

        SelectableText {
            name: "Setup link"
            text: code.phone.maskedLink
            width: parent.width
        }

        PushButton {
            help: "Copy the setup link, with the token"
            name: "Copy link"

            onTriggered: code.phone.copyLink()
        }
    }
}
