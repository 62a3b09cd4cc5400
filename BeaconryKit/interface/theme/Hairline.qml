import QtQuick
import Pelorin

Rectangle {
    color: WindowTheme.colors.hairline
    height: 1
    width: parent ? parent.width : 0
}
