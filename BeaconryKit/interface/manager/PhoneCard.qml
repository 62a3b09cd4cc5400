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
            readonly property PhoneCard card: parent && parent.parent ? parent.parent as PhoneCard : null

            phone: card ? card.phone : null
            width: parent ? parent.width : 0
        }
    }
}
