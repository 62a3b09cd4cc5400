import QtQuick
import Pelorin

// The rows of all registered sessions.
ListView {
    id: list

    required property ManagerFacade manager

    Accessible.name: "Sessions"
    Accessible.role: Accessible.List
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height
    model: manager.sessions

    delegate: SessionRow {
        readonly property SessionRows list: ListView.view as SessionRows

        manager: list ? list.manager : null
        width: list ? list.width : 0
    }
    footer: Item {
        height: Theme.pageMargin
    }
    header: Item {
        height: Theme.pageMargin - Theme.gap
    }
}
