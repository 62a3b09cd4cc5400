import QtQuick
import Pelorin

// The panel's rows. The list is as high as it may ever get, so that all rows that fit are laid out and their height is
// known.
AskList {
    id: list

    required property PanelFacade panel
    required property HelpTip tip

    // The side of each row where Allow and Deny stand.
    readonly property real answersWidth: 2 * 40 + 14 + Theme.margin

    function layOut() {
        forceLayout();
        for (let i = 0; i < contentItem.children.length; ++i) {
            const row = contentItem.children[i] as PanelRow;
            if (row)
                row.layOut();
        }
        forceLayout();
    }

    actions: panel

    delegate: PanelRow {
        // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
        readonly property var rows: ListView.view

        panel: rows ? rows.panel : null
        shift: rows ? rows.shift : 0
        tip: rows ? rows.tip : null
        width: rows ? rows.width : 0
    }
}
