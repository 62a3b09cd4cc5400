import QtQuick
import Pelorin

// A control's own text. The letter that reaches the control with the Alt key is underlined while that key is down.
Text {
    id: label

    required property string name
    property string mnemonic: ""

    readonly property bool isMarked: Theme.marksMnemonics && mnemonic !== ""

    Accessible.ignored: true
    color: Theme.window.text
    font.pointSize: Theme.textSize
    text: isMarked ? name.replace(mnemonic, "<u>" + mnemonic + "</u>") : name
    textFormat: isMarked ? Text.StyledText : Text.PlainText
}
