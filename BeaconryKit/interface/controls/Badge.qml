import QtQuick
import Pelorin

// A small mark in words.
Rectangle {
    id: badge

    required property string text
    property string symbol: ""
    property real symbolSize: 12
    property real greatestWidth: 1000
    property color inkColor: Theme.window.secondaryText
    // Whether it is read out by itself.
    property bool isReadOut: true

    Accessible.ignored: !isReadOut
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
        height: badge.symbolSize
        symbol: badge.symbol
        visible: badge.symbol !== ""
        width: badge.symbolSize
        x: Theme.gap + 4 - width / 2
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
        x: picture.visible ? picture.width + Theme.gap + 2 : Theme.gap
    }
}
