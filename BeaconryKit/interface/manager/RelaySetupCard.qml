import QtQuick
import Pelorin

// Everything about phones: the relay, its token, how a phone is set up, and those that are.
Column {
    id: setup

    required property PhoneSetup phone
    required property SettingsFacade settings

    readonly property bool isComplete: phone.setupLink !== ""

    spacing: Theme.gap

    SectionTitle {
        symbol: "antenna.radiowaves.left.and.right"
        text: "Phone from anywhere (relay)"
    }

    CaptionText {
        bottomPadding: Theme.smallGap
        text: "Real iOS notifications from anywhere — no app, no shared Wi-Fi. This install has its own private token on Pelorin's relay; actionable asks are web-pushed to every phone you set up, and your Allow/Deny comes straight back here."
        width: parent.width
    }

    Card {
        height: implicitHeight
        width: parent.width

        LabelledLine {
            label: "Relay URL"
            mnemonic: "U"
            placeholder: "https://relay.your-name.example"
            value: setup.settings.relayURL

            onFinished: {
                // Not before: on the way to it there are addresses of others, which must not get the token.
                if (text !== value)
                    setup.settings.relayURL = text;
                setup.phone.loadPhonesOfNewConfig();
            }
        }

        LabelledLine {
            copyHelp: "Copy the token"
            isSecret: true
            label: "Token"
            mnemonic: "T"
            placeholder: "provisioned automatically"
            value: setup.settings.relayToken

            onCopied: setup.phone.copyToken()
            onFinished: {
                if (text !== value)
                    setup.settings.relayToken = text;
                setup.phone.loadPhonesOfNewConfig();
            }
        }

        Hairline {
        }

        BodyText {
            color: Theme.window.secondaryText
            text: "Enter your Worker URL and token to show a setup code."
            visible: !setup.isComplete
            width: parent.width
        }

        SetupCode {
            phone: setup.phone
            visible: setup.isComplete
            width: parent.width
        }

        Hairline {
        }

        Item {
            height: Math.max(regenerate.height, advice.height)
            width: parent.width

            CaptionText {
                id: advice

                anchors.left: parent.left
                anchors.right: regenerating.left
                anchors.rightMargin: Theme.gap
                anchors.verticalCenter: parent.verticalCenter
                text: "A fresh token gives you a new, empty instance — use it to rotate a leaked token. Re-scan the QR on each phone afterward."
            }

            BusySign {
                id: regenerating

                anchors.right: regenerate.left
                anchors.rightMargin: Theme.gap
                anchors.verticalCenter: parent.verticalCenter
                running: setup.phone.isProvisioning
            }

            PushButton {
                id: regenerate

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                enabled: !setup.phone.isProvisioning
                mnemonic: "R"
                name: "Regenerate token"
                symbol: "arrow.triangle.2.circlepath"

                onTriggered: setup.phone.regenerateToken()
            }
        }
    }

    BodyText {
        color: Theme.window.deny
        text: setup.phone.provisioningError
        visible: text !== ""
        width: parent.width
    }

    Item {
        height: Theme.gap
        width: 1
    }

    Item {
        height: Math.max(count.height, busy.height)
        width: parent.width

        SectionTitle {
            id: count

            text: setup.phone.phonesTitle
            width: parent.width - busy.width - Theme.gap
        }

        BusySign {
            id: busy

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            running: setup.phone.isLoading
        }
    }

    PhoneCard {
        phone: setup.phone
        visible: setup.phone.phones.count > 0
        width: parent.width
    }

    CaptionText {
        text: "Removing a phone stops its notifications until it re-enables alerts."
        width: parent.width
    }

    Item {
        height: Theme.gap
        width: 1
    }

    Card {
        height: implicitHeight
        width: parent.width

        SettingRow {
            caption: "Lets the Terminal tab in the phone app run shell commands here, as you (cd persists; “New shell” resets). Anyone with your relay link can too — keep it off unless you need it."
            mnemonic: "c"
            symbol: "terminal"
            title: "Phone terminal — run commands on this Mac"

            ToggleSwitch {
                checked: setup.settings.phoneTerminalEnabled
                mnemonic: "c"
                name: "Phone terminal — run commands on this Mac"

                onToggled: checked => setup.settings.phoneTerminalEnabled = checked
            }
        }
    }
}
