#include "tests/interface/ManagerFixture.h"

#include <QTest>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const QString removed = QStringLiteral("Removed the Claude Code hooks.");
const QString removing = QStringLiteral("Removed the Claude Code hooks. Removing login auto-start…");
const QString removedBoth = QStringLiteral("Removed the Claude Code hooks and login auto-start.");
const QString question = QStringLiteral("Uninstall Pelorin's Claude Code integration?");
const QString waitName = QStringLiteral("Wait for my click: ");
const QString hideName = QStringLiteral("Hide notifications after: ");

class ManagerSettingsTest : public ManagerFixture {
protected:
    bool isAt(const QString& control, const QString& text) {
        QQuickItem* const line = this->control(control);
        return line && itemsOfType(line, "QQuickTextInput").first()->property("text").toString() == text;
    }

    void uninstall() {
        show(settingsTab);
        click(QStringLiteral("Uninstall"));
        click(confirmButton());
    }

    /// Of the two of that name the one of the sheet.
    QQuickItem* confirmButton() {
        for (QQuickItem* button : itemsOfType(visible("ConfirmSheet").first(), "PushButton")) {
            if (button->property("name") == QStringLiteral("Uninstall"))
                return button;
        }
        return nullptr;
    }
};

TEST_F(ManagerSettingsTest, SaysWhatItIs) {
    show(settingsTab);
    for (const char* text : {
             "Claude Code hooks",
             "Not installed — Pelorin won't receive asks until you install them.",
             "Wires Claude Code to Pelorin over loopback — no repo needed; the scripts ship inside the app. Codex & "
             "Gemini adapters are bundled too (see the docs to point those CLIs here).",
             "No pop-ups; everything stays in this window",
             "While silent, nothing appears on screen. With a relay or phone push configured, permission asks stay "
             "answerable from your phone and this window; without one they go straight to the terminal prompt.",
             "Default permission handling",
             "“Auto-allow” approves every permission request without asking — use with care. Per-session overrides "
             "live "
             "in the Sessions tab.",
             "Timing & filtering",
             "Wait for my click: ",
             "How long a permission request stays answerable on screen before it falls back to the normal terminal "
             "prompt.",
             "Notifications stay until resolved",
             "Show plain notifications (waiting for input, etc.)",
             "Off by default: only actionable asks — permission requests you can Allow/Deny, or prompts pending in the "
             "terminal — appear on screen.",
             "A notification containing any of these words is always treated as a real ask, whatever its type.",
             "Only wyrn sessions",
             "With “only wyrn”, sessions started plainly (without the wyrn launcher) never notify.",
         })
        EXPECT_TRUE(says(QString::fromUtf8(text))) << text;
    EXPECT_TRUE(symbols().contains(QStringLiteral("moon.zzz")));
    EXPECT_TRUE(symbols().contains(QStringLiteral("exclamationmark.triangle.fill")));
}

TEST_F(ManagerSettingsTest, TellsWhetherTheHooksAreInstalled) {
    show(settingsTab);
    EXPECT_TRUE(hasControl(QStringLiteral("Install")));
    markInstalled();
    // Seen when the window is come back to.
    window().close();
    show(settingsTab);
    EXPECT_TRUE(says(QStringLiteral("Installed. Restart your Claude Code sessions to pick up any changes.")));
    EXPECT_TRUE(symbols().contains(QStringLiteral("checkmark.seal.fill")));
    EXPECT_TRUE(hasControl(QStringLiteral("Reinstall")));
}

TEST_F(ManagerSettingsTest, InstallsOffTheMainThread) {
    write("install-hooks.sh", "mkdir -p \"$HOME/.claude\"; echo '{\"hooks\": \"/hooks/claude-clear-hook.sh\"}' "
                              ">\"$HOME/.claude/settings.json\"");
    show(settingsTab);
    facade().hooks()->install();
    EXPECT_TRUE(facade().hooks()->isBusy());
    EXPECT_TRUE(hasControl(QStringLiteral("Installing…")));
    EXPECT_FALSE(control(QStringLiteral("Installing…"))->isEnabled());
    EXPECT_FALSE(control(QStringLiteral("Uninstall"))->isEnabled());
    EXPECT_EQ(visible("BusySign").size(), 1);
    settle();
    EXPECT_TRUE(hasControl(QStringLiteral("Reinstall")));
    EXPECT_TRUE(says(QStringLiteral("Installed. Restart your Claude Code sessions to pick up any changes.")));
    EXPECT_EQ(visible("BusySign").size(), 0);
}

TEST_F(ManagerSettingsTest, ShowsWhyTheInstallationFailed) {
    write("install-hooks.sh", "echo '  no such <place>  '; exit 3");
    show(settingsTab);
    click(QStringLiteral("Install"));
    EXPECT_TRUE(says(QStringLiteral("no such <place>")));
    EXPECT_TRUE(facade().hooks()->isFailure());
    write("install-hooks.sh", "");
    click(QStringLiteral("Install again"));
    EXPECT_FALSE(says(QStringLiteral("no such <place>")));
    EXPECT_TRUE(hasControl(QStringLiteral("Install")));
}

TEST_F(ManagerSettingsTest, AsksBeforeItUninstalls) {
    write("uninstall-hooks.sh", "echo ran; exit 1");
    show(settingsTab);
    click(QStringLiteral("Uninstall"));
    EXPECT_TRUE(says(question));
    EXPECT_TRUE(says(QStringLiteral(
        "Removes Pelorin's hooks from Claude Code's settings and stops it from starting automatically at login. "
        "Pelorin keeps running until you quit it — move it to the Trash afterward if you don't plan to reinstall.")));
    // What lies beneath takes neither clicks nor keys.
    EXPECT_FALSE(control(QStringLiteral("Install"))->isEnabled());
    key(Qt::Key_P, Qt::AltModifier);
    EXPECT_EQ(facade().tab(), settingsTab);
    EXPECT_TRUE(control(QStringLiteral("Cancel"))->hasActiveFocus());
    key(Qt::Key_Escape);
    EXPECT_FALSE(says(question));
    EXPECT_TRUE(window().isVisible());
    click(QStringLiteral("Uninstall"));
    click(QStringLiteral("Cancel"));
    EXPECT_FALSE(says(question));
    EXPECT_FALSE(says(QStringLiteral("ran")));
    key(Qt::Key_U, Qt::AltModifier);
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    EXPECT_FALSE(says(question));
    EXPECT_TRUE(says(QStringLiteral("ran")));
}

TEST_F(ManagerSettingsTest, UninstallsWhereNothingStartsAtLogin) {
    markInstalled();
    write("uninstall-hooks.sh", "rm \"$HOME/.claude/settings.json\"");
    uninstall();
    EXPECT_TRUE(says(removed));
    EXPECT_FALSE(facade().hooks()->isBusy());
    EXPECT_FALSE(facade().hooks()->isInstalled());
    EXPECT_EQ(dispatch.waitingTasks(), 0);
}

TEST_F(ManagerSettingsTest, RemovesTheStartAtLoginAMomentAfterTheHooks) {
    EXPECT_EQ(HookSetup::launchAgentDelay, 800ms);
    markInstalled();
    write("uninstall-hooks.sh", "rm \"$HOME/.claude/settings.json\"");
    write("autostart", "");
    uninstall();
    EXPECT_TRUE(says(removing));
    EXPECT_TRUE(facade().hooks()->isBusy());
    EXPECT_FALSE(facade().hooks()->isInstalled());
    dispatch.advance(799ms);
    EXPECT_TRUE(std::filesystem::exists(directory.path() / "autostart"));
    dispatch.advance(1ms);
    settle();
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "autostart"));
    EXPECT_TRUE(says(removedBoth));
    EXPECT_FALSE(facade().hooks()->isBusy());
}

TEST_F(ManagerSettingsTest, ShowsWhyTheHooksAreStillThere) {
    write("uninstall-hooks.sh", "exit 2");
    write("autostart", "");
    uninstall();
    const QString message = QStringLiteral("The uninstaller exited with code 2.");
    EXPECT_TRUE(says(message));
    dispatch.advance(800ms);
    settle();
    // The start at login is gone, but that is not all that was asked for.
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "autostart"));
    EXPECT_TRUE(says(message));
    EXPECT_TRUE(facade().hooks()->isFailure());
}

TEST_F(ManagerSettingsTest, ShowsWhyTheStartAtLoginIsStillThere) {
    write("autostart/in-the-way", "");
    uninstall();
    dispatch.advance(800ms);
    settle();
    EXPECT_TRUE(facade().hooks()->message().startsWith(
        QStringLiteral("Stopped the login auto-start but couldn't delete ") + path("autostart")));
    EXPECT_TRUE(says(facade().hooks()->message()));
    EXPECT_TRUE(facade().hooks()->isFailure());
}

TEST_F(ManagerSettingsTest, SwitchesApplyAtOnce) {
    show(settingsTab);
    click(QStringLiteral("Silent mode"));
    EXPECT_TRUE(settings.silentMode());
    EXPECT_TRUE(control(QStringLiteral("Silent mode"))->property("checked").toBool());
    key(Qt::Key_N, Qt::AltModifier);
    EXPECT_FALSE(settings.silentMode());
    const QString plain = QStringLiteral("Show plain notifications (waiting for input, etc.)");
    click(plain);
    EXPECT_TRUE(settings.showPlainNotifications());
    key(Qt::Key_W, Qt::AltModifier);
    EXPECT_FALSE(settings.showPlainNotifications());
    // What is changed elsewhere shows on a later turn.
    settings.setSilentMode(true);
    settle();
    EXPECT_TRUE(control(QStringLiteral("Silent mode"))->property("checked").toBool());
}

TEST_F(ManagerSettingsTest, ChoosesTheDefaultPolicy) {
    show(settingsTab);
    EXPECT_EQ(facade().settings()->policyNames().join(u'|'), QStringLiteral("Wait for me|Auto-allow|Auto-deny"));
    click(QStringLiteral("Auto-deny"));
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::deny);
    click(QStringLiteral("Auto-allow"));
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::allow);
    click(QStringLiteral("Wait for me"));
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::wait);
}

TEST_F(ManagerSettingsTest, AnArrowKeyAllowsNothingByItself) {
    show(settingsTab);
    control(QStringLiteral("Default permission handling"))->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Right);
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::wait);
    EXPECT_FALSE(hasControl(QStringLiteral("Undo")));
    key(Qt::Key_Return);
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::allow);
}

TEST_F(ManagerSettingsTest, TakesBackThatEverythingIsAllowed) {
    settings.setDefaultPolicy(AutoDecision::deny);
    show(settingsTab);
    EXPECT_FALSE(hasControl(QStringLiteral("Undo")));
    click(QStringLiteral("Auto-allow"));
    click(QStringLiteral("Auto-allow"));
    click(QStringLiteral("Undo"));
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::deny);
    EXPECT_FALSE(hasControl(QStringLiteral("Undo")));
    // What was chosen elsewhere, or in another run, is followed by asking.
    settings.setDefaultPolicy(AutoDecision::allow);
    settle();
    ManagerWindowController other(
        parts(), [](const AskEvent&, const AskAction&) {}, [](const SessionInfo&) {});
    other.show();
    other.facade()->settings()->undoAutoAllow();
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::wait);
}

TEST_F(ManagerSettingsTest, EscapeBringsBackWhatStoodInAField) {
    settings.setAskKeywords(QStringLiteral("really"));
    show(settingsTab);
    click(QStringLiteral("Ask keywords"));
    retype(QStringLiteral("half"));
    key(Qt::Key_Escape);
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(settings.askKeywords(), QStringLiteral("really"));
    EXPECT_EQ(control(QStringLiteral("Ask keywords"))->property("text"), QStringLiteral("really"));
    // What is finished is not half an edit.
    retype(QStringLiteral("surely"));
    key(Qt::Key_Return);
    key(Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(settings.askKeywords(), QStringLiteral("surely"));
    show(settingsTab);
    click(waitName);
    retype(QStringLiteral("60"));
    key(Qt::Key_Escape);
    EXPECT_TRUE(window().isVisible());
    EXPECT_TRUE(isAt(waitName, QStringLiteral("45")));
    // There is nothing to bring back any more.
    key(Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(settings.decisionWaitSeconds(), 45);
}

TEST_F(ManagerSettingsTest, TheKeyboardGoesBackToWhereItWasBeforeTheQuestion) {
    show(settingsTab);
    QQuickItem* const button = control(QStringLiteral("Uninstall"));
    button->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Return);
    EXPECT_TRUE(control(QStringLiteral("Cancel"))->hasActiveFocus());
    key(Qt::Key_Escape);
    EXPECT_TRUE(button->hasActiveFocus());
    key(Qt::Key_Return);
    key(Qt::Key_Return);
    EXPECT_FALSE(says(question));
    EXPECT_TRUE(button->hasActiveFocus());
}

TEST_F(ManagerSettingsTest, ShowsNumbersOutOfBoundsCorrected) {
    show(settingsTab);
    EXPECT_TRUE(isAt(waitName, QStringLiteral("45")));
    for (const auto& [typed, taken] : {std::pair("900", 580), std::pair("1", 5), std::pair("0", 5),
                                       std::pair("999999", 580), std::pair("77", 77), std::pair("", 77)}) {
        click(waitName);
        retype(QString::fromLatin1(typed));
        key(Qt::Key_Return);
        EXPECT_EQ(settings.decisionWaitSeconds(), taken) << typed;
        EXPECT_TRUE(isAt(waitName, QString::number(taken))) << typed;
    }
    // Leaving the field is as good as Return.
    click(waitName);
    retype(QStringLiteral("600"));
    EXPECT_EQ(settings.decisionWaitSeconds(), 77);
    key(Qt::Key_Tab);
    EXPECT_EQ(settings.decisionWaitSeconds(), 580);
    EXPECT_TRUE(isAt(waitName, QStringLiteral("580")));
}

TEST_F(ManagerSettingsTest, TakesAHalfTypedNumberWhenTheTabOrTheWindowGoes) {
    show(settingsTab);
    click(waitName);
    retype(QStringLiteral("60"));
    key(Qt::Key_P, Qt::AltModifier);
    EXPECT_EQ(settings.decisionWaitSeconds(), 60);
    show(settingsTab);
    click(waitName);
    retype(QStringLiteral("70"));
    window().close();
    EXPECT_EQ(settings.decisionWaitSeconds(), 70);
}

TEST_F(ManagerSettingsTest, StepsNumbersWithinTheirBounds) {
    settings.setDecisionWaitSeconds(575);
    show(settingsTab);
    click(waitName + QStringLiteral(", more"));
    EXPECT_EQ(settings.decisionWaitSeconds(), 580);
    EXPECT_FALSE(control(waitName + QStringLiteral(", more"))->isEnabled());
    click(waitName + QStringLiteral(", less"));
    EXPECT_EQ(settings.decisionWaitSeconds(), 575);
    click(waitName);
    key(Qt::Key_Down);
    EXPECT_EQ(settings.decisionWaitSeconds(), 570);
    key(Qt::Key_Up);
    EXPECT_EQ(settings.decisionWaitSeconds(), 575);
    EXPECT_TRUE(isAt(waitName, QStringLiteral("575")));
}

TEST_F(ManagerSettingsTest, HidesNotificationsAfterSomeTimeOrNever) {
    settings.setNotificationAutoDismissSeconds(-3);
    show(settingsTab);
    EXPECT_TRUE(isAt(hideName, QStringLiteral("0")));
    EXPECT_TRUE(says(QStringLiteral("Notifications stay until resolved")));
    click(hideName + QStringLiteral(", more"));
    EXPECT_EQ(settings.notificationAutoDismissSeconds(), 5);
    EXPECT_TRUE(says(hideName));
    EXPECT_FALSE(says(QStringLiteral("Notifications stay until resolved")));
    click(hideName);
    retype(QStringLiteral("99999"));
    key(Qt::Key_Return);
    EXPECT_EQ(settings.notificationAutoDismissSeconds(), SettingsFacade::longestAutoDismiss);
    EXPECT_TRUE(isAt(hideName, QStringLiteral("3600")));
}

TEST_F(ManagerSettingsTest, EditsTheKeywords) {
    show(settingsTab);
    click(QStringLiteral("Ask keywords"));
    retype(QStringLiteral("really, sure"));
    EXPECT_EQ(settings.askKeywords(), QStringLiteral("really, sure"));
    retype({});
    EXPECT_EQ(settings.askKeywords(), QString());
    EXPECT_TRUE(says(QStringLiteral("permission, approval, do you want")));
}

TEST_F(ManagerSettingsTest, TracksAllSessionsOrOnlySome) {
    show(settingsTab);
    click(QStringLiteral("Only wyrn sessions"));
    EXPECT_TRUE(settings.trackOnlyOptIn());
    EXPECT_TRUE(registry.trackOnlyOptIn());
    click(QStringLiteral("All sessions"));
    EXPECT_FALSE(settings.trackOnlyOptIn());
    EXPECT_FALSE(registry.trackOnlyOptIn());
}

TEST(HookSetup, DoesNotBlockTheMainThread) {
    // The real queues: the script ends only once the main thread has gone on.
    ManagerDependencies dependencies;
    dependencies.write("install-hooks.sh", "until [ -e \"$HOME/go\" ]; do read -t 0.01 <> <(:) || true; done; exit 4");
    const auto dispatch = makeSystemDispatch();
    HookSetup setup(*dispatch, dependencies.parts().hooks);
    setup.install();
    EXPECT_TRUE(setup.isBusy());
    dependencies.write("home/go", "");
    EXPECT_TRUE(eventually([&] { return !setup.isBusy(); }));
    EXPECT_EQ(setup.message(), QStringLiteral("The installer exited with code 4."));
}

} // namespace
} // namespace pelorin
