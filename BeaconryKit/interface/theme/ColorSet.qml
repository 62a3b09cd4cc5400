import QtQuick

// The colours of one appearance, by what they are for.
QtObject {
    // What everything stands on, and the slightly raised surface of a block within it.
    property color background
    property color surface
    property color surfaceHovered
    // What lies deeper than the surface, and the bar above a window's content.
    property color inset
    property color bar
    property color hairline
    property color text
    property color secondaryText
    property color tertiaryText
    property color accent
    property color allow
    property color deny
    // Around a session's dot, where its colour alone is too light for what it stands on.
    property color dotEdge: "transparent"
    // Controls: a button, what a switch or a choice runs in, the one chosen, a field, the line around all of them.
    property color control
    property color controlBorder
    property color track
    property color selectedControl
    property color field
    // Filled with the accent, or with any tint, and what is written on that.
    property color accentFill
    property color allowFill
    property color denyFill
    property color textOnTint
    property color yellow
    property color orange
}
