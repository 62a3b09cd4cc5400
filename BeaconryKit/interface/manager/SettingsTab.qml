import QtQuick
import Pelorin

// All settings but the phone's. Each applies as it is changed.
ScrollPage {
    id: tab

    required property ManagerFacade manager

    readonly property SettingsFacade settings: manager.settings

    HookSetupCard {
        hooks: tab.manager.hooks
        width: parent.width
    }

    SectionGap {
    }

    SectionTitle {
        text: "Silent mode"
    }

    Card {
        height: implicitHeight
        width: parent.width

        SettingRow {
            caption: "While silent, nothing appears on screen. With a relay or phone push configured, permission asks stay answerable from your phone and this window; without one they go straight to the terminal prompt."
            mnemonic: "N"
            symbol: "moon.zzz"
            title: "No pop-ups; everything stays in this window"

            ToggleSwitch {
                checked: tab.settings.silentMode
                help: "No pop-ups; everything stays in this window"
                mnemonic: "N"
                name: "Silent mode"

                onToggled: checked => tab.settings.silentMode = checked
            }
        }
    }

    SectionGap {
    }

    SectionTitle {
        text: "Default permission handling"
    }

    Card {
        height: implicitHeight
        width: parent.width

        Flow {
            spacing: Theme.gap
            width: parent.width

            ChoiceBar {
                choices: tab.settings.policyNames
                current: tab.settings.defaultPolicy
                graveChoice: tab.settings.autoAllowChoice
                name: "Default permission handling"

                onChosen: index => tab.settings.defaultPolicy = index
            }

            PushButton {
                help: "Stop approving every permission request"
                name: "Undo"
                visible: tab.settings.allowsEverything

                onTriggered: tab.settings.undoAutoAllow()
            }
        }

        CaptionText {
            text: "“Auto-allow” approves every permission request without asking — use with care. Per-session overrides live in the Sessions tab."
            width: parent.width
        }
    }

    SectionGap {
    }

    SectionTitle {
        text: "Timing & filtering"
    }

    Card {
        height: implicitHeight
        width: parent.width

        SettingRow {
            caption: "How long a permission request stays answerable on screen before it falls back to the normal terminal prompt."
            title: "Wait for my click: "

            SecondsLine {
                from: tab.settings.shortestDecisionWait
                name: "Wait for my click: "
                to: tab.settings.longestDecisionWait
                value: tab.settings.decisionWaitSeconds

                onCommitted: value => tab.settings.decisionWaitSeconds = value
            }
        }

        Hairline {
        }

        SettingRow {
            title: tab.settings.autoDismissSeconds < 1 ? "Notifications stay until resolved" : "Hide notifications after: "

            SecondsLine {
                from: 0
                name: "Hide notifications after: "
                to: tab.settings.longestAutoDismiss
                value: tab.settings.autoDismissSeconds

                onCommitted: value => tab.settings.autoDismissSeconds = value
            }
        }

        Hairline {
        }

        SettingRow {
            caption: "Off by default: only actionable asks — permission requests you can Allow/Deny, or prompts pending in the terminal — appear on screen."
            mnemonic: "w"
            title: "Show plain notifications (waiting for input, etc.)"

            ToggleSwitch {
                checked: tab.settings.showPlainNotifications
                mnemonic: "w"
                name: "Show plain notifications (waiting for input, etc.)"

                onToggled: checked => tab.settings.showPlainNotifications = checked
            }
        }

        Hairline {
        }

        LabelledLine {
            label: "Ask keywords"
            mnemonic: "k"
            placeholder: "permission, approval, do you want"
            value: tab.settings.askKeywords

            onEdited: text => tab.settings.askKeywords = text
        }

        CaptionText {
            text: "A notification containing any of these words is always treated as a real ask, whatever its type."
            width: parent.width
        }
    }

    SectionGap {
    }

    SectionTitle {
        text: "Which sessions notify"
    }

    Card {
        height: implicitHeight
        width: parent.width

        ChoiceBar {
            choices: ["All sessions", "Only wyrn sessions"]
            current: tab.settings.trackOnlyOptIn ? 1 : 0
            name: "Which sessions notify"

            onChosen: index => tab.settings.trackOnlyOptIn = index === 1
        }

        CaptionText {
            text: "With “only wyrn”, sessions started plainly (without the wyrn launcher) never notify."
            width: parent.width
        }
    }
}
