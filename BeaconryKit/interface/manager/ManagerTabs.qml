import QtQuick
import Pelorin

// The tabs of the manager window, in the middle of its upper edge.
Rectangle {
    id: tabs

    required property int current
    required property int pendingCount

    signal chosen(int index)

    function step(difference: int) {
        const next = current + difference;
        if (next < 0 || next >= buttons.count)
            return;
        chosen(next);
        buttons.itemAt(next).forceActiveFocus(Qt.TabFocusReason);
    }

    Accessible.name: "Tabs"
    Accessible.role: Accessible.PageTabList
    color: Theme.window.bar
    implicitHeight: row.height + 2 * Theme.gap

    Row {
        id: row

        anchors.centerIn: parent
        spacing: Theme.smallGap

        Repeater {
            id: buttons

            model: ListModel {
                ListElement {
                    mnemonic: "P"
                    symbol: "bell"
                    title: "Pending"
                }

                ListElement {
                    mnemonic: "S"
                    symbol: "terminal"
                    title: "Sessions"
                }

                ListElement {
                    mnemonic: "h"
                    symbol: "iphone"
                    title: "Phone"
                }

                ListElement {
                    mnemonic: "e"
                    symbol: "gearshape"
                    title: "Settings"
                }
            }

            ManagerTabButton {
                required property int index
                required property string title

                // Untyped: the QML compiler of Qt 6.8 takes a cast to the file's own type for undefined.
                readonly property var tabs: parent ? parent.parent : null

                badge: tabs && index === 0 ? tabs.pendingCount : 0
                isCurrent: tabs ? index === tabs.current : false
                name: title

                Keys.onLeftPressed: tabs.step(-1)
                Keys.onRightPressed: tabs.step(1)
                onTriggered: tabs.chosen(index)
            }
        }
    }

    Rectangle {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        color: Theme.window.hairline
        height: 1
    }
}
