#include "BeaconryKit/interface/status/StatusMenu.h"

#include "tests/support/FakeStatusItem.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QCoreApplication>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

SessionInfo session(const char* id, const char* label = "", const char* tty = "ttys004") {
    return {.sessionId = id, .tty = tty, .label = label};
}

/// An item as a reader sees it: "[x] " and "[ ] " are the states of a check mark, brackets stand around what cannot be
/// chosen.
QString line(const MenuItem& item) {
    if (item.kind == MenuItem::Kind::separator)
        return QStringLiteral("-");
    QString text = item.isEnabled ? item.title : QStringLiteral("(%1)").arg(item.title);
    if (item.checkState != CheckState::none)
        text.prepend(item.checkState == CheckState::on ? QStringLiteral("[x] ") : QStringLiteral("[ ] "));
    return text;
}

QStringList lines(const Menu& menu) {
    QStringList all;
    for (const MenuItem& item : menu) {
        all << line(item);
        for (const QString& below : lines(item.submenu))
            all << QStringLiteral("> ") + below;
    }
    return all;
}

class StatusMenuTest : public ::testing::Test {
protected:
    StatusMenuTest()
        : settings(defaults),
          menu(store, registry, settings, std::make_unique<FakeStatusItem>(item),
               {.openManager = [this] { done << "open"; },
                .jumpToSession = [this](const SessionInfo& target) { done << "jump " + target.termProgram; },
                .quit =
                    [this] {
                        done << "quit";
                    }}) {}

    static void laterTurn() { QCoreApplication::sendPostedEvents(); }

    /// The titles of the sessions alone.
    QStringList sessionTitles() const {
        QStringList titles;
        for (const MenuItem& entry : item.menu) {
            if (!entry.submenu.empty())
                titles << entry.title;
        }
        return titles;
    }
    void ask(const char* sessionId, const char* requestId) {
        store.upsert({.sessionId = sessionId, .requestId = requestId});
    }

    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings;
    StatusItemRecord item;
    QStringList done;
    StatusMenu menu;
};

TEST_F(StatusMenuTest, HasNoSessionItemsWithoutSessions) {
    EXPECT_EQ(lines(item.menu),
              QStringList({"Open Manager\u2026", "-", "[ ] Silent Mode", "[x] Track All Sessions",
                           "[ ] Track Only wyrn Sessions", "-", "(No Active Sessions)", "-", "Quit Pelorin"}));
}

TEST_F(StatusMenuTest, ListsTheSessionsInTheOrderOfTheRegistry) {
    registry.registerSession(session("z", "zeta", "ttys001"));
    registry.registerSession(session("a", "alpha", "ttys002"));
    laterTurn();
    EXPECT_EQ(lines(item.menu), QStringList({"Open Manager\u2026", "-", "[ ] Silent Mode", "[x] Track All Sessions",
                                             "[ ] Track Only wyrn Sessions", "-", "(Sessions)", "zeta \u2014 ttys001",
                                             "> Jump to Terminal", "> Mute Notifications", "alpha \u2014 ttys002",
                                             "> Jump to Terminal", "> Mute Notifications", "-", "Quit Pelorin"}));
}

TEST_F(StatusMenuTest, GivesEveryItemItsActionAndOnlyTheLastAKey) {
    registry.registerSession(session("the id"));
    laterTurn();
    std::vector<MenuAction> actions;
    for (const MenuItem& entry : item.menu) {
        actions.push_back(entry.action);
        EXPECT_EQ(entry.keyEquivalent, &entry == &item.menu.back() ? "q" : "");
    }
    EXPECT_THAT(actions, ElementsAre(MenuAction::openManager, MenuAction::none, MenuAction::toggleSilentMode,
                                     MenuAction::trackAllSessions, MenuAction::trackOnlyWyrn, MenuAction::none,
                                     MenuAction::none, MenuAction::none, MenuAction::none, MenuAction::quit));
    const Menu& below = item.menu.at(7).submenu;
    ASSERT_EQ(below.size(), 2);
    EXPECT_EQ(below.at(0).action, MenuAction::jumpToSession);
    EXPECT_EQ(below.at(1).action, MenuAction::toggleMute);
    for (const MenuItem& entry : below) {
        EXPECT_EQ(entry.representedObject, QString("the id"));
        EXPECT_EQ(entry.keyEquivalent, "");
    }
}

struct Titled {
    const char* name;
    SessionInfo session;
    bool muted;
    std::optional<AutoDecision> policy;
    QString title;
};

class SessionTitle : public StatusMenuTest, public ::testing::WithParamInterface<Titled> {};

TEST_P(SessionTitle, IsPutTogether) {
    registry.setPolicy(GetParam().policy, GetParam().session.sessionId);
    registry.setMuted(GetParam().muted, GetParam().session.sessionId);
    registry.registerSession(GetParam().session);
    laterTurn();
    EXPECT_EQ(sessionTitles(), QStringList(GetParam().title));
}

INSTANTIATE_TEST_SUITE_P(
    Titles, SessionTitle,
    ::testing::Values(Titled{"OfEverything",
                             {.sessionId = "s", .tty = "ttys004", .label = "api", .optIn = true},
                             true,
                             AutoDecision::deny,
                             "\u2B51 api \u2014 ttys004 (muted) [Auto-deny]"},
                      Titled{"OfAPlainSession", session("s", "api"), false, {}, "api \u2014 ttys004"},
                      Titled{"OfAnOptedInSession",
                             {.sessionId = "s", .tty = "pts/1", .label = "api", .optIn = true},
                             false,
                             {},
                             "\u2B51 api \u2014 pts/1"},
                      Titled{"OfAMutedSession", session("s", "api"), true, {}, "api \u2014 ttys004 (muted)"},
                      Titled{"WithAutomaticAllow", session("s", "api"), false, AutoDecision::allow,
                             "api \u2014 ttys004 [Auto-allow]"},
                      Titled{"WithAutomaticDeny", session("s", "api"), false, AutoDecision::deny,
                             "api \u2014 ttys004 [Auto-deny]"},
                      Titled{"WithAPolicyToWait", session("s", "api"), false, AutoDecision::wait, "api \u2014 ttys004"},
                      Titled{"WithoutATerminal", session("s", "api", ""), false, {}, "api \u2014 no tty"},
                      Titled{"WithAnUnknownTerminal", session("s", "api", "??"), false, {}, "api \u2014 ??"},
                      Titled{"WithoutALabel",
                             {.sessionId = "s", .cwd = "/home/ann/shop", .tty = "pts/1"},
                             false,
                             {},
                             "shop \u2014 pts/1"},
                      Titled{"WithoutAnyName", session("s", "", ""), false, {}, "unknown \u2014 no tty"}),
    [](const auto& test) { return test.param.name; });

struct Look {
    const char* name;
    bool silent;
    int waiting;
    StatusIcon icon;
};

class StatusIconLook : public StatusMenuTest, public ::testing::WithParamInterface<Look> {};

TEST_P(StatusIconLook, TellsWhatWaits) {
    settings.setSilentMode(GetParam().silent);
    for (int i = 0; i < GetParam().waiting; ++i)
        store.upsert({.sessionId = QString::number(i)});
    menu.updateStatusIcon();
    EXPECT_EQ(item.icon, GetParam().icon);
}

INSTANTIATE_TEST_SUITE_P(
    Looks, StatusIconLook,
    ::testing::Values(Look{"SilentAndIdle", true, 0, {"bell.slash", "", ImagePosition::imageOnly}},
                      Look{"SilentWithThreeAsks", true, 3, {"bell.slash", " 3", ImagePosition::imageLeading}},
                      Look{"Idle", false, 0, {"bell", "", ImagePosition::imageOnly}},
                      Look{"WithOneAsk", false, 1, {"bell.badge.fill", " 1", ImagePosition::imageLeading}},
                      Look{"WithTwelveAsks", false, 12, {"bell.badge.fill", " 12", ImagePosition::imageLeading}}),
    [](const auto& test) { return test.param.name; });

TEST_F(StatusMenuTest, SaysThatEverythingIsAllowedWhileItIs) {
    settings.setDefaultPolicy(AutoDecision::allow);
    menu.rebuildMenu();
    EXPECT_EQ(item.icon->notice, "Auto-allow is on: every permission request is approved without asking.");
    settings.setDefaultPolicy(AutoDecision::deny);
    menu.rebuildMenu();
    EXPECT_EQ(item.icon->notice, "");
}

TEST_F(StatusMenuTest, ShowsIconAndMenuFromTheStart) {
    EXPECT_EQ(item.icon, (StatusIcon{"bell", "", ImagePosition::imageOnly}));
    EXPECT_EQ(item.menusSet, 1);
}

TEST_F(StatusMenuTest, AChangeOfTheAsksUpdatesTheIconAloneOnALaterTurn) {
    const Menu before = item.menu;
    ask("s", "r");
    EXPECT_EQ(item.icon->symbol, "bell");
    laterTurn();
    EXPECT_EQ(item.icon->symbol, "bell.badge.fill");
    EXPECT_EQ(item.icon->title, " 1");
    EXPECT_EQ(item.menusSet, 1);
    EXPECT_EQ(item.menu, before);
}

TEST_F(StatusMenuTest, AChangeOfTheRegistryRebuildsTheMenuOnALaterTurn) {
    registry.registerSession(session("s", "api"));
    EXPECT_EQ(sessionTitles(), QStringList());
    laterTurn();
    EXPECT_EQ(sessionTitles(), QStringList("api \u2014 ttys004"));
    registry.setMuted(true, "s");
    laterTurn();
    EXPECT_EQ(item.menu.at(7).submenu.at(1).title, "Unmute Notifications");
    registry.unregister("s");
    laterTurn();
    EXPECT_EQ(sessionTitles(), QStringList());
    EXPECT_EQ(item.menu.at(6).title, "No Active Sessions");
}

TEST_F(StatusMenuTest, ReflectsTheSettingsAtItsLastRebuild) {
    settings.setSilentMode(true);
    laterTurn();
    EXPECT_EQ(item.menu.at(2).checkState, CheckState::off);
    EXPECT_EQ(item.icon->symbol, "bell");
    menu.rebuildMenu();
    EXPECT_EQ(item.menu.at(2).checkState, CheckState::on);
    EXPECT_EQ(item.icon->symbol, "bell.slash");
}

TEST_F(StatusMenuTest, ShowsOneOfTheTwoWaysOfTracking) {
    const auto states = [this] {
        return std::pair(item.menu.at(3).checkState, item.menu.at(4).checkState);
    };
    EXPECT_EQ(states(), std::pair(CheckState::on, CheckState::off));
    menu.perform(MenuAction::trackOnlyWyrn);
    laterTurn();
    EXPECT_EQ(states(), std::pair(CheckState::off, CheckState::on));
    EXPECT_TRUE(registry.trackOnlyOptIn());
    EXPECT_TRUE(settings.trackOnlyOptIn());
    EXPECT_EQ(defaults.values.value("trackOnlyOptIn"), true);
    menu.perform(MenuAction::trackAllSessions);
    laterTurn();
    EXPECT_EQ(states(), std::pair(CheckState::on, CheckState::off));
    EXPECT_FALSE(registry.trackOnlyOptIn());
    EXPECT_FALSE(settings.trackOnlyOptIn());
    EXPECT_EQ(defaults.values.value("trackOnlyOptIn"), false);
}

TEST_F(StatusMenuTest, WritesTheWayOfTrackingToTheSettingsFirst) {
    QStringList order;
    QObject::connect(&settings, &NotifierSettings::objectWillChange, [&] { order << "settings"; });
    QObject::connect(&registry, &SessionRegistry::objectWillChange, [&] { order << "registry"; });
    menu.perform(MenuAction::trackOnlyWyrn);
    EXPECT_EQ(order, QStringList({"settings", "registry"}));
    menu.perform(MenuAction::trackAllSessions);
    EXPECT_EQ(order, QStringList({"settings", "registry", "settings", "registry"}));
}

TEST_F(StatusMenuTest, TheTrackingStateIsTheRegistrys) {
    registry.setTrackOnlyOptIn(true);
    laterTurn();
    EXPECT_EQ(item.menu.at(3).checkState, CheckState::off);
    EXPECT_EQ(item.menu.at(4).checkState, CheckState::on);
}

TEST_F(StatusMenuTest, TogglesSilentMode) {
    menu.perform(MenuAction::toggleSilentMode);
    EXPECT_TRUE(settings.silentMode());
    menu.perform(MenuAction::toggleSilentMode);
    EXPECT_FALSE(settings.silentMode());
}

TEST_F(StatusMenuTest, MutingTakesTheSessionsAsksAlongAndUnmutingBringsNothingBack) {
    registry.registerSession(session("s"));
    ask("s", "r1");
    ask("other", "r2");
    ask("s", "r3");
    menu.perform(MenuAction::toggleMute, "s");
    EXPECT_TRUE(registry.isMuted("s"));
    ASSERT_EQ(store.asks().size(), 1);
    EXPECT_EQ(store.asks().first()->id(), "r2");
    menu.perform(MenuAction::toggleMute, "s");
    EXPECT_FALSE(registry.isMuted("s"));
    EXPECT_EQ(store.asks().size(), 1);
}

TEST_F(StatusMenuTest, UnmutingLeavesTheAsksAlone) {
    registry.setMuted(true, "s");
    ask("s", "r");
    menu.perform(MenuAction::toggleMute, "s");
    EXPECT_FALSE(registry.isMuted("s"));
    EXPECT_EQ(store.asks().size(), 1);
}

TEST_F(StatusMenuTest, JumpsToARegisteredSession) {
    registry.registerSession({.sessionId = "s", .termProgram = "kitty"});
    menu.perform(MenuAction::jumpToSession, "s");
    EXPECT_EQ(done, QStringList("jump kitty"));
}

TEST_F(StatusMenuTest, DoesNothingForASessionThatIsNotThere) {
    menu.perform(MenuAction::jumpToSession, "gone");
    menu.perform(MenuAction::jumpToSession);
    menu.perform(MenuAction::toggleMute);
    menu.perform(MenuAction::none);
    EXPECT_EQ(done, QStringList());
    EXPECT_TRUE(registry.mutedIds().isEmpty());
}

TEST_F(StatusMenuTest, OpensTheManagerAndQuits) {
    menu.perform(MenuAction::openManager);
    menu.perform(MenuAction::quit);
    EXPECT_EQ(done, QStringList({"open", "quit"}));
}

TEST_F(StatusMenuTest, DoesWhatTheItemReports) {
    registry.registerSession({.sessionId = "s", .termProgram = "kitty"});
    item.handlers.onTriggered(MenuAction::jumpToSession, "s");
    item.handlers.onTriggered(MenuAction::quit, {});
    item.handlers.onActivated();
    EXPECT_EQ(done, QStringList({"jump kitty", "quit", "open"}));
}

TEST(StatusMenu, WorksWithoutAnItemAndWithoutCallbacks) {
    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings(defaults);
    StatusMenu menu(store, registry, settings, nullptr, {});
    registry.registerSession(session("s"));
    store.upsert({.sessionId = "s"});
    QCoreApplication::sendPostedEvents();
    for (const auto action : {MenuAction::openManager, MenuAction::jumpToSession, MenuAction::quit})
        menu.perform(action, "s");
    menu.perform(MenuAction::toggleMute, "s");
    EXPECT_TRUE(registry.isMuted("s"));
    EXPECT_TRUE(store.asks().isEmpty());
}

} // namespace
} // namespace pelorin
