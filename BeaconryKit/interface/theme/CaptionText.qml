import QtQuick
import Pelorin

// What explains a control, beneath it.
BodyText {
    color: WindowTheme.colors.secondaryText
    font.pointSize: Theme.smallTextSize
    lineHeight: 1.15
}
