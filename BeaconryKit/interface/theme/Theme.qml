pragma Singleton
import QtQuick
import Pelorin

// The one place for colours, fonts and distances. The panel is always dark; ordinary windows are as the desktop's are.
// What is written stands out from what lies behind it by 4.5 at least, what shows a control by 3 (contrast as the web's
// accessibility guidelines count it).
QtObject {
    id: theme

    // The colours of ordinary windows. The one that is open tells whether the desktop wants them dark.
    readonly property ColorSet window: windowIsDark ? darkWindow : light
    property bool windowIsDark: false
    // Whether the letters that reach controls with the Alt key are underlined.
    property bool marksMnemonics: false

    readonly property ColorSet dark: ColorSet {
        background: "#0b0b0e"
        surface: "#18181d"
        surfaceHovered: "#24242b"
        hairline: "#24ffffff"
        text: "#f4f4f7"
        secondaryText: "#a6a6b0"
        tertiaryText: "#8e8e9a"
        accent: "#5aa9ff"
        allow: "#3fcf6e"
        deny: "#ff5d57"
        controlBorder: "#75757f"
        yellow: "#ffd93b"
        orange: "#ff9b3d"
    }
    // Less deep than the panel, which is to pass for a part of the screen's edge.
    readonly property ColorSet darkWindow: ColorSet {
        background: "#1c1c20"
        surface: "#27272c"
        surfaceHovered: "#313138"
        inset: "#1b1b1f"
        bar: "#25252a"
        hairline: theme.dark.hairline
        text: theme.dark.text
        secondaryText: "#b0b0ba"
        tertiaryText: "#9494a0"
        accent: theme.dark.accent
        allow: theme.dark.allow
        deny: "#ff6f69"
        control: "#3b3b43"
        controlBorder: "#7a7a85"
        track: "#1d1d21"
        selectedControl: "#5b5b66"
        field: "#1b1b1f"
        accentFill: "#2a72d0"
        allowFill: "#208345"
        denyFill: "#cf4039"
        textOnTint: "#ffffff"
        yellow: theme.dark.yellow
        orange: theme.dark.orange
    }
    readonly property ColorSet light: ColorSet {
        background: "#f6f6f8"
        surface: "#ffffff"
        surfaceHovered: "#ececf0"
        inset: "#f3f3f6"
        bar: "#ececf0"
        hairline: "#1f000000"
        text: "#18181c"
        secondaryText: "#5c5c66"
        tertiaryText: "#6a6a74"
        accent: "#0c5ab3"
        allow: "#1f9d4c"
        deny: "#cf332d"
        dotEdge: "#5c5c66"
        control: "#ffffff"
        controlBorder: "#80808a"
        track: "#e4e4ea"
        selectedControl: "#ffffff"
        field: "#ffffff"
        accentFill: "#1273de"
        allowFill: "#1a8742"
        denyFill: "#cf332d"
        textOnTint: "#ffffff"
        yellow: "#8a6700"
        orange: "#b55b00"
    }

    // The system's own size is the measure, so that a user who set larger text gets larger text here.
    readonly property real textSize: SystemFonts.textSize
    readonly property real smallTextSize: textSize * 0.88
    readonly property real codeSize: textSize * 0.92
    readonly property real countdownSize: 9
    readonly property string textFamily: SystemFonts.textFamily
    readonly property string codeFamily: SystemFonts.fixedFamily

    readonly property int margin: 16
    readonly property int gap: 8
    readonly property int smallGap: 5
    readonly property int pageMargin: 22
    readonly property int radius: 9
    readonly property int controlRadius: 6

    readonly property int hoverDuration: 120
    readonly property int moveDuration: 180

    function faded(color: color, opacity: real): color {
        return Qt.rgba(color.r, color.g, color.b, color.a * opacity);
    }
}
