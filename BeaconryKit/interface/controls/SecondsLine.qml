import QtQuick
import Pelorin

// A number of seconds.
Row {
    id: seconds

    required property string name
    required property int value
    required property int from
    required property int to

    signal committed(int value)

    spacing: Theme.gap

    NumberLine {
        from: seconds.from
        name: seconds.name
        to: seconds.to
        value: seconds.value

        onCommitted: value => seconds.committed(value)
    }

    BodyText {
        Accessible.ignored: true
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.window.secondaryText
        text: "seconds"
        wrapMode: Text.NoWrap
    }
}
