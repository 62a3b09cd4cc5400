import QtQuick
import Pelorin

// One ask. Everything that can be clicked hangs from the row's top right corner or below the text, so that nothing moves
// when a text gets shorter or a label goes.
AskRow {
    id: row

    required property PanelFacade panel
    required property HelpTip tip

    property bool isComplete: false
    property bool isPlaced: false
    property real lastPlace: 0
    // How far the row still is from its place, to which it glides.
    property real slide: 0

    // The flow and the column lay themselves out with the next frame only; the panel's height is wanted before.
    function layOut() {
        options.forceLayout();
        extras.forceLayout();
    }

    actions: panel
    implicitHeight: extras.y + extras.height + (extras.height > 0 ? Theme.margin - 2 : 0)
    // A row glides over what comes up above it.
    z: index

    transform: Translate {
        y: row.slide
    }

    Component.onCompleted: {
        isComplete = true;
        // The list puts every row in its place after this, and the first one is there already.
        if (index === 0) {
            lastPlace = place;
            isPlaced = true;
            panel.noteRowPlace(askId, place);
        }
    }
    onPlaceChanged: {
        if (!isComplete || !panel)
            return;
        if (isPlaced) {
            slide += lastPlace - place;
            glide.restart();
        }
        lastPlace = place;
        isPlaced = true;
        panel.noteRowPlace(askId, place);
    }

    // The list's own transitions lose a row's place when a row above changes its height meanwhile.
    NumberAnimation {
        id: glide

        duration: Theme.moveDuration
        easing.type: Easing.InOutQuad
        property: "slide"
        target: row
        to: 0
    }

    // Not over the panel's own edge and its round corners.
    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: Theme.margin - 2
        anchors.rightMargin: Theme.margin - 2
        color: Theme.dark.background
        visible: row.slide !== 0
    }

    Rectangle {
        anchors.left: parent.left
        anchors.leftMargin: Theme.margin
        anchors.right: parent.right
        anchors.rightMargin: Theme.margin
        color: Theme.dark.hairline
        height: 1
        visible: row.index > 0
    }

    AskHeader {
        id: header

        agentType: row.agentType
        badge.color: Theme.dark.surfaceHovered
        badge.greatestWidth: room * 0.25 + 28
        badge.inkColor: Theme.dark.secondaryText
        badge.isReadOut: false
        badge.symbolSize: 10
        centresNames: true
        colors: Theme.dark
        dotColor: row.dotColor
        dotSize: 8
        height: 24
        projectName: row.projectName
        sourceLabel: row.sourceLabel
        sourceWeight: Font.Medium
        trailingMargin: -4
        width: row.width - 2 * Theme.margin
        x: Theme.margin
        y: Theme.margin - 6

        CountdownLabel {
            anchors.verticalCenter: parent.verticalCenter
            isOver: row.countdownIsOver
            isUrgent: row.countdownIsUrgent
            text: row.countdownText
        }

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            armed: row.armed
            help: "Jump to this session"
            name: "Jump"
            symbol: "arrow.up.right.square.fill"
            symbolSize: 16
            tip: row.tip

            onTriggered: row.panel.open(row.askId)
        }

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            armed: row.armed
            name: row.expanded ? "Hide details" : "Show details"
            symbol: row.expanded ? "chevron.up.circle.fill" : "chevron.down.circle.fill"
            symbolSize: 16
            tip: row.tip

            onTriggered: row.panel.setExpanded(row.askId, !row.expanded)
        }

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            armed: row.armed
            color: Theme.dark.tertiaryText
            help: row.isPermission ? "Leave this to the terminal" : "Put this notice away"
            name: "Dismiss"
            symbol: "xmark"
            symbolSize: 14
            tip: row.tip

            onTriggered: row.panel.dismiss(row.askId)
        }
    }

    Rectangle {
        id: messageBlock

        anchors.left: header.left
        anchors.top: header.bottom
        anchors.topMargin: Theme.smallGap
        color: row.isPermission ? Theme.dark.surface : "transparent"
        height: Math.max(words.implicitHeight + (row.isPermission ? 2 * Theme.gap + 2 : 0), row.isPermission ? answers.height : 0)
        radius: Theme.radius
        width: row.isPermission ? header.width - answers.width - Theme.margin : header.width

        Text {
            id: words

            readonly property int inset: row.isPermission ? Theme.gap + 2 : 0

            Accessible.ignored: true
            anchors.verticalCenter: parent.verticalCenter
            color: row.isPermission ? Theme.dark.text : Theme.dark.secondaryText
            elide: Text.ElideRight
            font.family: Theme.codeFamily
            font.pointSize: Theme.codeSize
            maximumLineCount: row.expanded ? 12 : 4
            text: row.unbrokenMessage
            textFormat: Text.PlainText
            width: parent.width - 2 * inset
            wrapMode: Text.Wrap
            x: inset
        }
    }

    Row {
        id: answers

        anchors.right: header.right
        anchors.top: messageBlock.top
        height: 40
        spacing: 14
        visible: row.isPermission

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            armed: row.armed
            color: Theme.dark.deny
            enabled: row.takesDecision
            help: "Deny this action"
            hoveredColor: Qt.lighter(Theme.dark.deny, 1.15)
            name: "Deny"
            symbol: "xmark.circle.fill"
            symbolSize: 34
            tip: row.tip

            onTriggered: row.panel.deny(row.askId)
        }

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            armed: row.armed
            color: Theme.dark.allow
            enabled: row.takesDecision
            help: "Allow this action"
            hoveredColor: Qt.lighter(Theme.dark.allow, 1.15)
            name: "Allow"
            symbol: "checkmark.circle.fill"
            symbolSize: 34
            tip: row.tip

            onTriggered: row.panel.allow(row.askId)
        }
    }

    Column {
        id: extras

        anchors.left: header.left
        anchors.right: header.right
        anchors.top: messageBlock.bottom
        anchors.topMargin: Theme.margin - 4
        spacing: Theme.gap + 2

        TerminalText {
            text: row.detail
            visible: row.expanded && row.detail !== ""
            width: extras.width
        }

        OptionFlow {
            id: options

            labels: row.optionLabels
            width: extras.width

            // The linter does not know that a component may use the names around it.
            // qmllint disable unqualified
            button: OptionButton {
                required property int index
                required property string modelData

                armed: row.armed
                availableWidth: options.width
                name: modelData

                onTriggered: row.panel.pickOption(row.askId, index)
            }
            // qmllint enable unqualified
        }

        ReplyField {
            armed: row.armed
            draft: row.draft
            tip: row.tip
            visible: row.acceptsText && row.expanded
            width: extras.width

            onEdited: text => row.panel.setDraft(row.askId, text)
            onEntered: row.panel.takeKeyboard(row.askId)
            onAbandoned: row.panel.giveKeyboardBack()
            onSent: text => row.panel.sendText(row.askId, text)
        }
    }
}
