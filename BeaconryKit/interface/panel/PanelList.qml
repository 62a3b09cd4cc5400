import QtQuick
import Pelorin

// The rows, one under the other. The list is as high as it may ever get, so that all rows that fit are laid out and
// their height is known.
ListView {
    id: list

    required property PanelFacade panel
    required property HelpTip tip

    // How far the content has moved by itself, as it does when rows go from under the visible part. What the user scrolls
    // is not counted: that moves no row away from under a pointer that was aiming at it.
    property real shift: 0
    property real lastContentY: 0

    function layOut() {
        forceLayout();
        for (let i = 0; i < contentItem.children.length; ++i) {
            const row = contentItem.children[i] as PanelRow;
            if (row)
                row.layOut();
        }
        forceLayout();
    }

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height
    model: panel.asks

    delegate: PanelRow {
        readonly property PanelList list: ListView.view as PanelList

        panel: list ? list.panel : null
        shift: list ? list.shift : 0
        tip: list ? list.tip : null
        width: list ? list.width : 0
    }
    onContentYChanged: {
        if (!moving)
            shift += contentY - lastContentY;
        lastContentY = contentY;
    }
}
