import QtQuick
import Pelorin

// What sets one section apart from the next.
Item {
    height: Theme.smallGap
    width: 1
}
