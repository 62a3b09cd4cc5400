import QtQuick
import Pelorin

// What an alert says: its message, what there is to say about that, and the one button.
Rectangle {
    id: view

    required property string messageText
    required property string informativeText

    property bool desktopSaysDark: false
    property bool desktopSaysLight: false

    signal closeWanted

    Accessible.description: informativeText
    Accessible.name: messageText
    Accessible.role: Accessible.AlertMessage
    color: Theme.window.background
    height: column.height + 2 * Theme.pageMargin
    width: 36 * Theme.textSize

    SystemPalette {
        id: desktop
    }

    Binding {
        property: "windowIsDark"
        target: Theme
        value: view.desktopSaysDark || (!view.desktopSaysLight && desktop.window.hslLightness < desktop.windowText.hslLightness)
    }

    Shortcut {
        sequences: ["Return", "Enter", "Esc", "Ctrl+W"]

        onActivated: view.closeWanted()
    }

    Column {
        id: column

        spacing: Theme.margin - 4
        width: parent.width - 2 * Theme.pageMargin
        x: Theme.pageMargin
        y: Theme.pageMargin

        BodyText {
            font.pointSize: Theme.textSize * 1.1
            font.weight: Font.DemiBold
            text: view.messageText
            width: parent.width
        }

        BodyText {
            color: Theme.window.secondaryText
            lineHeight: 1.1
            text: view.informativeText
            width: parent.width
        }

        PushButton {
            anchors.right: parent.right
            focus: true
            name: "OK"
            tint: Theme.window.accentFill

            onTriggered: view.closeWanted()
        }
    }
}
