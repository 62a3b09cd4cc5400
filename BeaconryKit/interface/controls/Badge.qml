import QtQuick
import Pelorin

// A small mark in words.
Rectangle {
    id: badge

    required property string text
    property string symbol: ""
    property real greatestWidth: 1000
    property color inkColor: Theme.window.secondaryText

    Accessible.name: text
    Accessible.role: Accessible.StaticText
    color: Theme.faded(inkColor, 0.14)
    implicitHeight: words.implicitHeight + 4
    implicitWidth: words.x + words.width + Theme.gap
    radius: height / 2

    SymbolItem {
        id: picture

        anchors.verticalCenter: parent.verticalCenter
        color: badge.inkColor
        height: 12
        symbol: badge.symbol
        visible: badge.symbol !== ""
        width: 12
        x: Theme.gap - 2
    }

    Text {
        id: words

        Accessible.ignored: true
        anchors.verticalCenter: parent.verticalCenter
        color: badge.inkColor
        elide: Text.ElideRight
        font.pointSize: Theme.smallTextSize
        text: badge.text
        textFormat: Text.PlainText
        width: Math.min(implicitWidth, badge.greatestWidth - x - Theme.gap)
        x: picture.visible ? picture.x + picture.width + 4 : Theme.gap
    }
}
