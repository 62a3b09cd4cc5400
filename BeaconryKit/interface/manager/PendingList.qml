import QtQuick
import Pelorin

// The window's rows.
AskList {
    id: list

    Accessible.name: "Pending"
    Accessible.role: Accessible.List

    delegate: PendingRow {
        // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
        readonly property var rows: ListView.view

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
