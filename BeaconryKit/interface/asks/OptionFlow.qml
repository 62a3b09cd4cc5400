import QtQuick
import Pelorin

// The options of a terminal's prompt side by side, wrapping where the row ends.
Flow {
    id: flow

    required property bool armed
    required property list<string> labels

    signal picked(int index)

    spacing: Theme.gap

    Repeater {
        model: flow.labels

        PushButton {
            required property int index
            required property string modelData

            readonly property OptionFlow options: parent as OptionFlow

            armed: options ? options.armed : false
            availableWidth: options ? options.width : 0
            name: modelData

            onTriggered: options.picked(index)
        }
    }
}
