import QtQuick
import Pelorin

// The options side by side, wrapping where the row ends.
Flow {
    id: flow

    required property bool armed
    required property list<string> labels

    signal picked(int index)

    spacing: Theme.gap

    Repeater {
        model: flow.labels

        OptionButton {
            required property int index
            required property string modelData

            readonly property FlowButtons buttons: parent as FlowButtons

            armed: buttons ? buttons.armed : false
            availableWidth: buttons ? buttons.width : 0
            name: modelData

            onTriggered: buttons.picked(index)
        }
    }
}
