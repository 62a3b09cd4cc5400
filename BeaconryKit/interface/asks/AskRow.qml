import QtQuick
import Pelorin

// What every row of a list of asks knows of its ask and of its place. How it looks is its view's.
Item {
    id: row

    required property bool acceptsText
    required property string agentType
    required property bool armed
    required property string askId
    required property bool countdownIsOver
    required property bool countdownIsUrgent
    required property string countdownText
    required property string detail
    required property color dotColor
    required property string draft
    required property bool expanded
    required property int index
    required property bool isPermission
    required property string message
    required property list<string> optionLabels
    required property string projectName
    required property string sourceLabel
    required property string summary
    required property bool takesDecision

    required property AskActions actions
    // How far the list has moved by itself.
    required property real shift

    readonly property real place: y - shift
    // A command must not be broken behind a hyphen: "-" and "rf" are not what "-rf" is.
    readonly property string unbrokenMessage: message.replace(/-/g, "-\u2060")

    Accessible.name: summary
    Accessible.role: Accessible.ListItem
}
