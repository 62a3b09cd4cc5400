import QtQuick
import Pelorin

Rectangle {
    color: Theme.window.hairline
    height: 1
    width: parent ? parent.width : 0
}
