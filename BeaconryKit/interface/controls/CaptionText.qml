import QtQuick
import Pelorin

// What explains a control, beneath it.
BodyText {
    color: Theme.window.secondaryText
    font.pointSize: Theme.smallTextSize
    lineHeight: 1.15
}
