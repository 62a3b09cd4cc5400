import QtQuick
import Pelorin

// The content of the manager window: the tabs, and the page of the one in front. Only that page exists, and only while
// the window can be seen.
Rectangle {
    id: view

    required property ManagerFacade manager

    readonly property int minimumWidth: 44 * Theme.textSize
    readonly property int minimumHeight: 38 * Theme.textSize
    readonly property list<string> pages: ["PendingTab.qml", "SessionsTab.qml", "PhoneTab.qml", "SettingsTab.qml"]

    function showPage() {
        // A field takes what was typed when it loses the keyboard, which it does not by being destroyed.
        if (page.activeFocus)
            view.forceActiveFocus();
        if (manager.isShown)
            page.setSource(pages[manager.tab], {
                    "manager": manager
                });
        else
            page.source = "";
    }

    Accessible.name: "AI Session Manager"
    Accessible.role: Accessible.Pane
    color: Theme.window.background
    implicitHeight: 66 * Theme.textSize
    implicitWidth: 70 * Theme.textSize

    Component.onCompleted: showPage()

    Connections {
        function onIsShownChanged() {
            view.showPage();
        }

        function onTabChanged() {
            view.showPage();
        }

        target: view.manager
    }

    Connections {
        function onConfirmationWanted() {
            sheet.open();
        }

        target: view.manager.hooks
    }

    // The colours are the desktop's to choose: dark where its own windows are.
    SystemPalette {
        id: desktop
    }

    Binding {
        property: "windowIsDark"
        target: Theme
        value: {
            if (view.manager.desktopScheme !== ManagerFacade.UnspecifiedScheme)
                return view.manager.desktopScheme === ManagerFacade.DarkScheme;
            return desktop.window.hslLightness < desktop.windowText.hslLightness;
        }
    }

    Binding {
        property: "marksMnemonics"
        target: Theme
        value: view.manager.showsMnemonics
    }

    Shortcut {
        sequences: ["Ctrl+W", "Esc"]

        onActivated: {
            if (sheet.isOpen)
                sheet.close();
            else
                view.manager.close();
        }
    }

    Shortcut {
        enabled: !sheet.isOpen
        sequences: ["Ctrl+Tab", "Ctrl+PgDown"]

        onActivated: view.manager.tab = (view.manager.tab + 1) % view.pages.length
    }

    Shortcut {
        enabled: !sheet.isOpen
        sequences: ["Ctrl+Shift+Tab", "Ctrl+PgUp"]

        onActivated: view.manager.tab = (view.manager.tab + view.pages.length - 1) % view.pages.length
    }

    // While a sheet asks something, nothing else takes clicks or keys.
    FocusScope {
        anchors.fill: parent
        enabled: !sheet.isOpen
        focus: true

        ManagerTabs {
            id: tabs

            current: view.manager.tab
            pendingCount: view.manager.pendingCount
            width: parent.width

            onChosen: index => view.manager.tab = index
        }

        Loader {
            id: page

            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: tabs.bottom
        }
    }

    // What the interface has to say for some seconds, over the page's lower edge.
    Rectangle {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.margin
        anchors.horizontalCenter: parent.horizontalCenter
        color: Theme.dark.surface
        height: line.height + 2 * Theme.gap
        radius: Theme.radius
        visible: line.text !== ""
        width: line.width + 2 * Theme.margin

        BodyText {
            id: line

            Accessible.role: Accessible.AlertMessage
            anchors.centerIn: parent
            color: Theme.dark.text
            text: view.manager.announcement
            width: Math.min(implicitWidth, view.width - 4 * Theme.margin)
        }
    }

    ConfirmSheet {
        id: sheet

        anchors.fill: parent
        confirmName: "Uninstall"
        text: "Removes Pelorin's hooks from Claude Code's settings and stops it from starting automatically at login. Pelorin keeps running until you quit it — move it to the Trash afterward if you don't plan to reinstall."
        title: "Uninstall Pelorin's Claude Code integration?"

        onConfirmed: view.manager.hooks.uninstall()
    }
}
