import QtQuick
import Pelorin

// The connected phones.
Card {
    id: card

    required property PhoneSetup phone

    height: implicitHeight

    Repeater {
        model: card.phone.phones

        PhoneRow {
            // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
            readonly property var card: parent ? parent.parent : null

            phone: card ? card.phone : null
            width: parent ? parent.width : 0
        }
    }
}
