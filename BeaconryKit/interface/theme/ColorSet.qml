import QtQuick

// The colours of one appearance, by what they are for.
QtObject {
    // What everything stands on, and the slightly raised surface of a block within it.
    property color background
    property color surface
    property color surfaceHovered
    property color hairline
    property color text
    property color secondaryText
    property color tertiaryText
    property color accent
    property color allow
    property color deny
    property color yellow
    property color orange
}
