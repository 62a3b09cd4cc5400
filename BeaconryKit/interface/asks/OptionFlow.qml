import QtQuick
import Pelorin

// The options of a terminal's prompt side by side, wrapping where the row ends.
Flow {
    id: flow

    required property list<string> labels
    // The button of one option. It is given the option's `index`, and the label as `modelData`.
    required property Component button

    spacing: Theme.gap
    visible: labels.length > 0

    Repeater {
        delegate: flow.button
        model: flow.labels
    }
}
