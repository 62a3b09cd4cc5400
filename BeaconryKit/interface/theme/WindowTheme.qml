pragma Singleton
import QtQuick
import Pelorin

// How ordinary windows look at the moment. The one that is open tells what the desktop wants.
QtObject {
    readonly property ColorSet colors: isDark ? Theme.dark : Theme.light

    property bool isDark: false
    // Whether the letters that reach controls with the Alt key are underlined.
    property bool marksMnemonics: false
}
