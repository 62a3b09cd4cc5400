import QtQuick
import Pelorin

// Whether Claude Code is wired to us, and the ways to change that.
Column {
    id: setup

    required property HookSetup hooks

    spacing: Theme.gap

    SectionTitle {
        text: "Claude Code hooks"
    }

    Card {
        height: implicitHeight
        width: parent.width

        Item {
            height: Math.max(picture.height, state.height)
            width: parent.width

            SymbolItem {
                id: picture

                anchors.verticalCenter: parent.verticalCenter
                color: setup.hooks.isInstalled ? Theme.window.allow : Theme.window.orange
                height: 24
                symbol: setup.hooks.isInstalled ? "checkmark.seal.fill" : "exclamationmark.triangle.fill"
                width: 24
            }

            BodyText {
                id: state

                anchors.left: picture.right
                anchors.leftMargin: Theme.gap + 2
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                font.weight: Font.Medium
                text: setup.hooks.isInstalled ? "Installed. Restart your Claude Code sessions to pick up any changes." : "Not installed — Pelorin won't receive asks until you install them."
            }
        }

        CaptionText {
            text: "Wires Claude Code to Pelorin over loopback — no repo needed; the scripts ship inside the app. Codex & Gemini adapters are bundled too (see the docs to point those CLIs here)."
            width: parent.width
        }

        Flow {
            spacing: Theme.gap
            width: parent.width

            PushButton {
                enabled: !setup.hooks.isBusy
                mnemonic: "I"
                name: setup.hooks.isInstalling ? "Installing…" : setup.hooks.installationFailed ? "Install again" : setup.hooks.isInstalled ? "Reinstall" : "Install"
                tint: setup.hooks.isInstalled ? "transparent" : Theme.window.accentFill

                onTriggered: setup.hooks.install()
            }

            PushButton {
                enabled: !setup.hooks.isBusy
                mnemonic: "U"
                name: "Uninstall"

                onTriggered: setup.hooks.confirmUninstall()
            }

            BusySign {
                running: setup.hooks.isBusy
            }
        }

        BodyText {
            color: setup.hooks.isFailure ? Theme.window.deny : Theme.window.secondaryText
            text: setup.hooks.message
            visible: text !== ""
            width: parent.width
        }
    }
}
