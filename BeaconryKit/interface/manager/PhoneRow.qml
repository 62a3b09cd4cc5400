import QtQuick
import Pelorin

// One connected phone.
Item {
    id: row

    required property string country
    required property int index
    required property bool isBeingRemoved
    required property string label
    required property string phoneId
    required property string userAgent

    required property PhoneSetup phone

    Accessible.name: label + (country === "" ? "" : ", " + country)
    Accessible.role: Accessible.ListItem
    implicitHeight: line.height + Math.max(texts.height, remove.height)

    // What parts it from the phone above.
    Item {
        id: line

        height: row.index > 0 ? Theme.margin - 4 : 0
        width: row.width

        Hairline {
            visible: row.index > 0
        }
    }

    SymbolItem {
        id: picture

        color: Theme.window.secondaryText
        height: 24
        symbol: "iphone"
        width: 24
        y: line.height + (parent.height - line.height - height) / 2
    }

    Column {
        id: texts

        anchors.left: picture.right
        anchors.leftMargin: Theme.gap
        anchors.right: remove.left
        anchors.rightMargin: Theme.margin
        spacing: 3
        y: line.height + (parent.height - line.height - height) / 2

        Row {
            spacing: Theme.gap
            width: parent.width

            BodyText {
                elide: Text.ElideRight
                font.weight: Font.DemiBold
                text: row.label
                width: Math.min(implicitWidth, parent.width - (place.visible ? place.width + parent.spacing : 0))
                wrapMode: Text.NoWrap
            }

            Badge {
                id: place

                greatestWidth: parent.width * 0.4
                text: row.country
                visible: text !== ""
            }
        }

        CaptionText {
            text: row.userAgent
            visible: text !== ""
            width: parent.width
        }
    }

    PushButton {
        id: remove

        anchors.right: parent.right
        enabled: !row.isBeingRemoved
        help: row.label
        name: "Remove"
        y: line.height + (parent.height - line.height - height) / 2

        onTriggered: row.phone.removePhone(row.phoneId)
    }
}
