import QtQuick
import Pelorin

// Shows that something is under way. It moves only while it can be seen.
SymbolItem {
    id: sign

    required property bool running

    Accessible.ignored: true
    color: Theme.window.secondaryText
    height: 16
    symbol: "arrow.triangle.2.circlepath"
    visible: running
    width: 16

    RotationAnimation on rotation  {
        duration: 1400
        from: 0
        loops: Animation.Infinite
        running: sign.visible
        to: 360
    }
}
