import QtQuick
import Pelorin

// Phones at the relay.
ScrollPage {
    id: tab

    required property ManagerFacade manager

    Component.onCompleted: manager.phone.loadPhones()

    RelaySetupCard {
        phone: tab.manager.phone
        settings: tab.manager.settings
        width: parent.width
    }
}
