import QtQuick
import Pelorin

// The window's rows.
AskList {
    id: list

    Accessible.name: "Pending"
    Accessible.role: Accessible.List

    delegate: PendingRow {
        readonly property PendingList rows: ListView.view as PendingList

        actions: rows ? rows.actions : null
        shift: rows ? rows.shift : 0
        width: rows ? rows.width : 0
    }
    footer: Item {
        height: Theme.pageMargin
    }
    header: Item {
        height: Theme.pageMargin - Theme.gap
    }
}
