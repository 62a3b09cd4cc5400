import QtQuick
import Pelorin

// Text of a window. It wraps, and is read out as it stands.
Text {
    Accessible.name: text
    Accessible.role: Accessible.StaticText
    color: Theme.window.text
    font.pointSize: Theme.textSize
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
}
