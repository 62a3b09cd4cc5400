#include "BeaconryKit/service/EventRouter.h"

#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

#include <functional>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

/// A whole broker on hand-moved time. Every reply to a hook and every change of the rows is written to one log, and
/// before what comes later than the line above it the moment at which it comes.
class Broker {
public:
    Broker() {
        QObject::connect(&store, &AskStore::asksWillChange, [this](const SharedAsks& asks) {
            const QString now = rowsText(asks);
            if (now != std::exchange(m_rows, now))
                note("rows: " + now);
        });
    }

    void note(const QString& line) {
        const Duration passed = dispatch.monotonicNow() - m_start;
        if (passed != std::exchange(m_noted, passed))
            log << QStringLiteral("at %1 s").arg(std::chrono::duration<double>(passed).count(), 0, 'g', 15);
        log << line;
    }

    static QString rowsText(const SharedAsks& asks) {
        QStringList rows;
        for (const SharedAsk& ask : asks)
            rows << ask->id() + (ask->isPermission() ? " ? " : " . ") + ask->displayMessage();
        return rows.join(" | ");
    }

    void post(const QByteArray& path, const QByteArray& body, const QString& name) {
        router->route(path, body,
                      {.respond = [this, name](const QByteArray& reply) { note(name + " < " + reply); },
                       .whenGone =
                           [this, name](std::function<void()> gone) {
                               goneCallbacks[name] = std::move(gone);
                           }});
    }

    QStringList take() { return std::exchange(log, {}); }

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter decisions{dispatch};
    std::shared_ptr<EventRouter> router =
        EventRouter::create(dispatch, store, registry, settings, decisions, [](const AskEvent&) {});
    QStringList log;
    QHash<QString, std::function<void()>> goneCallbacks;

private:
    QString m_rows;
    const std::chrono::steady_clock::time_point m_start = dispatch.monotonicNow();
    Duration m_noted{};
};

QByteArray bash(const char* session, const char* request, const char* command = "ls") {
    return QStringLiteral(
               R"({"session_id":"%1","request_id":"%2","tool_name":"Bash","tool_input":{"command":"%3"},"cwd":"/p/x"})")
        .arg(session, request, command)
        .toUtf8();
}

QByteArray notice(const char* session, const char* message, const char* type = "") {
    return QStringLiteral(R"({"session_id":"%1","message":"%2","notification_type":"%3"})")
        .arg(session, message, type)
        .toUtf8();
}

QByteArray session(const char* id, bool optIn = false) {
    return QStringLiteral(R"({"session_id":"%1","opt_in":%2})").arg(id, optIn ? "true" : "false").toUtf8();
}

using Step = std::function<void(Broker&)>;

Step post(const QByteArray& path, const QByteArray& body, const QString& name = "hook") {
    return [=](Broker& broker) {
        broker.post(path, body, name);
    };
}
Step wait(Duration duration) {
    return [=](Broker& broker) {
        broker.dispatch.advance(duration);
    };
}
Step resolve(const char* id, Decision decision) {
    return [=](Broker& broker) {
        broker.note(broker.decisions.resolve(id, decision) ? "resolved" : "nothing to resolve");
    };
}
Step set(const std::function<void(NotifierSettings&)>& change) {
    return [=](Broker& broker) {
        change(broker.settings);
    };
}
Step setRegistry(const std::function<void(SessionRegistry&)>& change) {
    return [=](Broker& broker) {
        change(broker.registry);
    };
}
Step dismiss(const char* id) {
    return [=](Broker& broker) {
        broker.store.remove(id);
    };
}
Step gone(const char* name) {
    return [=](Broker& broker) {
        broker.goneCallbacks.value(name)();
        broker.dispatch.runDue();
    };
}

struct Script {
    const char* name;
    std::vector<Step> steps;
    QStringList expectedLog;
};

void PrintTo(const Script& script, std::ostream* stream) {
    *stream << script.name;
}

class EventScripts : public ::testing::TestWithParam<Script> {};

TEST_P(EventScripts, LeaveTheExpectedLog) {
    Broker broker;
    for (const Step& step : GetParam().steps)
        step(broker);
    EXPECT_EQ(broker.log, GetParam().expectedLog) << broker.log.join('\n').toStdString();
}

const auto allowWord = R"(hook < {"decision":"allow"})";
const auto denyWord = R"(hook < {"decision":"deny"})";
const auto askWord = R"(hook < {"decision":"ask"})";
const auto decodeWord = R"(hook < {"decision":"ask","why":"decode"})";
const auto filteredWord = R"(hook < {"decision":"ask","why":"filtered"})";
const auto silentWord = R"(hook < {"decision":"ask","why":"silent"})";

INSTANTIATE_TEST_SUITE_P(
    Permissions, EventScripts,
    ::testing::Values(
        Script{"AreShownAndAnsweredByTheUser",
               {post("/permission", bash("s", "r")), resolve("r", Decision::allow)},
               {"rows: r ? Bash: ls", allowWord, "resolved"}},
        Script{"ThatCannotBeReadAreHandedBack",
               {post("/permission", "nonsense"), post("/permission", "[]"), post("/permission", "{}"),
                post("/permission", R"({"request_id":"r"})"), post("/permission", bash("s", "")), wait(600s)},
               {decodeWord, decodeWord, decodeWord, decodeWord, decodeWord}},
        Script{"OfAMutedSessionAreHandedBack",
               {setRegistry([](auto& registry) { registry.setMuted(true, "s"); }), post("/permission", bash("s", "r"))},
               {filteredWord}},
        Script{"OfPlainSessionsAreHandedBackWhenOnlyOptedInOnesCount",
               {setRegistry([](auto& registry) { registry.setTrackOnlyOptIn(true); }),
                post("/permission", bash("s", "r")), post("/register", session("s", true), "register"),
                post("/permission", bash("s", "r"))},
               {filteredWord, "register < ok", "rows: r ? Bash: ls"}},
        Script{"PushTheSessionsNoticesAway",
               {post("/event", notice("s", "confirm"), "event"), post("/event", notice("t", "confirm"), "event"),
                post("/permission", bash("s", "r"))},
               {"event < ok", "rows: s . confirm", "event < ok", "rows: s . confirm | t . confirm", "rows: t . confirm",
                "rows: t . confirm | r ? Bash: ls"}},
        Script{"ExpireIntoANoticeThatStays",
               {post("/permission", bash("s", "r", "rm -rf build")), wait(45s - 1ns), wait(1ns), wait(1h),
                resolve("r", Decision::allow)},
               {"rows: r ? Bash: rm -rf build", "at 45 s", askWord,
                "rows: ", "rows: s . Answer in terminal — Bash: rm -rf build", "at 3645 s", "nothing to resolve"}},
        Script{"ExpireIntoANoticeThatStaysWhateverTheTimeOfNotices",
               {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(1); }),
                post("/permission", bash("s", "r")), wait(24h)},
               {"rows: r ? Bash: ls", "at 45 s", askWord, "rows: ", "rows: s . Answer in terminal — Bash: ls"}},
        Script{"ExpireByTheSettingOfTheMomentTheyCame",
               {set([](auto& settings) { settings.setDecisionWaitSeconds(10); }), post("/permission", bash("s", "r")),
                set([](auto& settings) { settings.setDecisionWaitSeconds(100); }), wait(10s)},
               {"rows: r ? Bash: ls", "at 10 s", askWord, "rows: ", "rows: s . Answer in terminal — Bash: ls"}},
        Script{"ThatWereWithdrawnLeaveNoNoticeWhenTheyExpire",
               {post("/permission", bash("s", "r")), dismiss("r"), wait(45s)},
               {"rows: r ? Bash: ls", "rows: ", "at 45 s", askWord}},
        Script{"OfTheirSessionsNoticeTakeItsPlaceWhenTheyExpire",
               {post("/permission", bash("s", "r1")), post("/permission", bash("s", "r2", "pwd"), "second"), wait(45s)},
               {"rows: r1 ? Bash: ls", "rows: r1 ? Bash: ls | r2 ? Bash: pwd", "at 45 s", askWord,
                R"(second < {"decision":"ask"})", "rows: r2 ? Bash: pwd",
                "rows: r2 ? Bash: pwd | s . Answer in terminal — Bash: ls", "rows: s . Answer in terminal — Bash: ls",
                "rows: s . Answer in terminal — Bash: pwd"}},
        Script{"LeaveTheScreenWhenTheirHookHasGone",
               {post("/permission", bash("s", "r")), gone("hook"), resolve("r", Decision::allow), wait(100s)},
               {"rows: r ? Bash: ls", "rows: ", "nothing to resolve"}},
        Script{"StayWhenOnlyAnEarlierHookOfThatRequestHasGone",
               {post("/permission", bash("s", "r"), "first"), post("/permission", bash("s", "r"), "second"),
                gone("first"), resolve("r", Decision::deny)},
               {"rows: r ? Bash: ls", R"(second < {"decision":"deny"})", "resolved"}},
        Script{"ThatWereAnsweredDoNotMindThatTheirHookHasGone",
               {post("/permission", bash("s", "r")), resolve("r", Decision::allow), gone("hook")},
               {"rows: r ? Bash: ls", allowWord, "resolved"}}));

INSTANTIATE_TEST_SUITE_P(
    Policies, EventScripts,
    ::testing::Values(Script{"OfTheSessionAnswerAtOnceAndShowAToastForThreeSeconds",
                             {setRegistry([](auto& registry) { registry.setPolicy(AutoDecision::allow, "s"); }),
                              post("/permission", bash("s", "r")), wait(3s - 1ns), wait(1ns)},
                             {allowWord, "rows: s . Auto-allowed: Bash: ls", "at 3 s", "rows: "}},
                      Script{"ByDefaultAnswerAtOnce",
                             {set([](auto& settings) { settings.setDefaultPolicy(AutoDecision::deny); }),
                              post("/permission", bash("s", "r"))},
                             {denyWord, "rows: s . Auto-denied: Bash: ls"}},
                      Script{"AnswerWithAToastWhereAPhoneCouldAnswerToo",
                             {set([](auto& settings) {
                                  settings.setRelayToken("t");
                                  settings.setDefaultPolicy(AutoDecision::allow);
                              }),
                              post("/permission", bash("s", "r"))},
                             {allowWord, "rows: s . Auto-allowed: Bash: ls"}},
                      Script{"ToDenyHoldInSilentModeToo",
                             {set([](auto& settings) {
                                  settings.setSilentMode(true);
                                  settings.setDefaultPolicy(AutoDecision::deny);
                              }),
                              post("/permission", bash("s", "r"))},
                             {denyWord}},
                      Script{"OfTheSessionWinOverTheDefault",
                             {set([](auto& settings) { settings.setDefaultPolicy(AutoDecision::deny); }),
                              setRegistry([](auto& registry) { registry.setPolicy(AutoDecision::wait, "s"); }),
                              post("/permission", bash("s", "r"))},
                             {"rows: r ? Bash: ls"}},
                      Script{"ShowNoToastInSilentMode",
                             {set([](auto& settings) {
                                  settings.setSilentMode(true);
                                  settings.setDefaultPolicy(AutoDecision::allow);
                              }),
                              post("/permission", bash("s", "r"))},
                             {allowWord}},
                      Script{"KeepANewerToastWhenTheOlderOnesTimeIsUp",
                             {set([](auto& settings) { settings.setDefaultPolicy(AutoDecision::allow); }),
                              post("/permission", bash("s", "r1")), wait(2s),
                              post("/permission", bash("s", "r2", "pwd")), wait(2s), wait(1s)},
                             {allowWord, "rows: s . Auto-allowed: Bash: ls", "at 2 s", "rows: ", allowWord,
                              "rows: s . Auto-allowed: Bash: pwd", "at 5 s", "rows: "}},
                      Script{"StillWaitInSilentModeWhenAPhoneCouldAnswer",
                             {set([](auto& settings) {
                                  settings.setSilentMode(true);
                                  settings.setRelayToken("t");
                              }),
                              post("/permission", bash("s", "r"))},
                             {"rows: r ? Bash: ls"}},
                      Script{"HandBackInSilentModeWithoutAToken",
                             {set([](auto& settings) { settings.setSilentMode(true); }),
                              post("/permission", bash("s", "r")), set([](auto& settings) {
                                  settings.setRelayToken("t");
                                  settings.setRelayURL("");
                              }),
                              post("/permission", bash("s", "r"))},
                             {silentWord, silentWord}}));

INSTANTIATE_TEST_SUITE_P(
    Notices, EventScripts,
    ::testing::Values(
        Script{"AreShownWhenTheirTypeTheirTextOrAKeywordNeedsThePerson",
               {post("/event", notice("a", "", "permission_prompt")), post("/event", notice("b", "Confirm?")),
                post("/event", notice("c", "APPROVAL please", "idle_prompt"))},
               {"hook < ok", "rows: a . ", "hook < ok", "rows: a .  | b . Confirm?", "hook < ok",
                "rows: a .  | b . Confirm? | c . APPROVAL please"}},
        Script{"ThatBearARequestIdAreShownWithoutBeingParked",
               {post("/event", bash("s", "r")), resolve("r", Decision::allow)},
               {"hook < ok", "rows: r ? Bash: ls", "nothing to resolve"}},
        Script{"ThatNeedNobodyAreDroppedUnlessTheUserWantsThem",
               {post("/event", notice("s", "Claude is waiting", "idle_prompt")),
                set([](auto& settings) { settings.setShowPlainNotifications(true); }),
                post("/event", notice("s", "Claude is waiting", "idle_prompt"))},
               {"hook < ok", "hook < ok", "rows: s . Claude is waiting"}},
        Script{"AreWithdrawnAfterTheUsersTime",
               {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(7); }),
                post("/event", notice("s", "confirm")), wait(7s - 1ns), wait(1ns)},
               {"hook < ok", "rows: s . confirm", "at 7 s", "rows: "}},
        Script{"AreWithdrawnAfterOneSecondIfTheUserWants",
               {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(1); }),
                post("/event", notice("s", "confirm")), wait(24h)},
               {"hook < ok", "rows: s . confirm", "at 1 s", "rows: "}},
        Script{"AreShownInSilentModeToo",
               {set([](auto& settings) { settings.setSilentMode(true); }), post("/event", notice("s", "confirm"))},
               {"hook < ok", "rows: s . confirm"}},
        Script{"OfPlainSessionsAreDroppedWhenOnlyOptedInOnesCount",
               {setRegistry([](auto& registry) { registry.setTrackOnlyOptIn(true); }),
                post("/event", notice("s", "confirm")), post("/register", session("s", true), "register"),
                post("/event", notice("s", "confirm"))},
               {"hook < ok", "register < ok", "hook < ok", "rows: s . confirm"}},
        Script{"StayWhenAPermissionOfTheirSessionIsFiltered",
               {post("/event", notice("s", "confirm"), "event"),
                setRegistry([](auto& registry) { registry.setMuted(true, "s"); }), post("/permission", bash("s", "r"))},
               {"event < ok", "rows: s . confirm", filteredWord}},
        Script{"OfTheSessionWithAnEmptyIdAreClearedByIt",
               {post("/event", notice("", "confirm")), post("/event", notice("s", "confirm")),
                post("/clear", session(""))},
               {"hook < ok", "rows:  . confirm", "hook < ok", "rows:  . confirm | s . confirm", "hook < ok",
                "rows: s . confirm"}},
        Script{"StayWhenTheUserSetNoTime",
               {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(-1); }),
                post("/event", notice("s", "confirm")), wait(24h)},
               {"hook < ok", "rows: s . confirm"}},
        Script{"ThatBearARequestIdAreNotWithdrawnByTime",
               {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(1); }),
                post("/event", bash("s", "r")), wait(24h)},
               {"hook < ok", "rows: r ? Bash: ls"}},
        Script{
            "AreNotWithdrawnByTheTimeOfAnOlderOne",
            {set([](auto& settings) { settings.setNotificationAutoDismissSeconds(5); }),
             post("/event", notice("s", "confirm")), wait(3s), post("/event", notice("s", "confirm again")), wait(2s),
             wait(3s - 1ns), wait(1ns)},
            {"hook < ok", "rows: s . confirm", "at 3 s", "hook < ok", "rows: s . confirm again", "at 8 s", "rows: "}},
        Script{"NeverDisplaceAWaitingPermission",
               {post("/permission", bash("s", "r"), "permission"),
                post("/event", notice("s", "Claude needs your permission", "permission_prompt")),
                post("/event", notice("t", "confirm"))},
               {"rows: r ? Bash: ls", "hook < ok", "hook < ok", "rows: r ? Bash: ls | t . confirm"}},
        Script{
            "OfMutedSessionsAreDropped",
            {setRegistry([](auto& registry) { registry.setMuted(true, "s"); }), post("/event", notice("s", "confirm"))},
            {"hook < ok"}},
        Script{"ThatCannotBeReadAreDropped",
               {post("/event", "nonsense"), post("/event", "{}"), post("/event", R"({"message":"confirm"})")},
               {"hook < ok", "hook < ok", "hook < ok"}},
        Script{"AreClearedButPermissionsStay",
               {post("/event", notice("s", "confirm")), post("/event", bash("s", "r")), post("/clear", session("s"))},
               {"hook < ok", "rows: s . confirm", "hook < ok", "rows: s . confirm | r ? Bash: ls", "hook < ok",
                "rows: r ? Bash: ls"}},
        Script{"AreNotClearedByWhatNamesNoSession",
               {post("/event", notice("s", "confirm")), post("/clear", "nonsense"), post("/clear", "[]"),
                post("/clear", R"({"session_id":1})"), post("/unregister", "{}"),
                post("/unregister", R"({"session_id":null})")},
               {"hook < ok", "rows: s . confirm", "hook < ok", "hook < ok", "hook < ok", "hook < ok", "hook < ok"}},
        Script{"AndAllElseOfASessionLeaveWithIt",
               {post("/event", notice("s", "confirm")), post("/permission", bash("t", "r"), "permission"),
                post("/unregister", session("s")), post("/unregister", session("t"))},
               {"hook < ok", "rows: s . confirm", "rows: s . confirm | r ? Bash: ls", "hook < ok", "rows: r ? Bash: ls",
                "hook < ok", "rows: "}},
        Script{"OfAnyOtherPathAreAnsweredAndIgnored",
               {post("/", notice("s", "confirm")), post("/event?x", notice("s", "confirm")),
                post("/Event", notice("s", "confirm")), post("", "")},
               {"hook < ok", "hook < ok", "hook < ok", "hook < ok"}}));

TEST(EventRouter, RegistersAndForgetsSessions) {
    Broker broker;
    broker.post("/register", R"({"session_id":"s","label":"api","cwd":"/x"})", "hook");
    broker.post("/register", R"({"cwd":"/x"})", "hook");
    broker.post("/register", "nonsense", "hook");
    EXPECT_EQ(broker.take(), QStringList({"hook < ok", "hook < ok", "hook < ok"}));
    ASSERT_EQ(broker.registry.sessions().size(), 1);
    EXPECT_EQ(broker.registry.sessions().first().label, "api");
    broker.registry.setMuted(true, "s");
    broker.registry.setPolicy(AutoDecision::allow, "s");
    broker.post("/unregister", R"({"session_id":"s"})", "hook");
    EXPECT_TRUE(broker.registry.sessions().isEmpty());
    EXPECT_FALSE(broker.registry.isMuted("s"));
    EXPECT_EQ(broker.registry.policy("s"), std::nullopt);
}

TEST(EventRouter, UnregisteringASessionLeavesItsHookToItsDeadline) {
    Broker broker;
    broker.post("/permission", bash("s", "r"), "hook");
    broker.post("/unregister", session("s"), "bye");
    broker.take();
    broker.dispatch.advance(45s);
    EXPECT_EQ(broker.take(), QStringList({"at 45 s", askWord}));
    EXPECT_TRUE(broker.store.asks().isEmpty());
}

TEST(EventRouter, TellsOfARowThatIsNotAsItWasParkedWhenItExpires) {
    Broker broker;
    QStringList told;
    broker.router->setChangedExpiry([&](const AskEvent& parked) { told << parked.id() + parked.detail; });
    broker.post("/permission", bash("s", "same"), "hook");
    broker.post("/permission", bash("s", "changed"), "hook");
    broker.post("/permission", bash("s", "gone"), "hook");
    AskEvent changed = *broker.store.ask("changed");
    changed.detail = "filled in";
    broker.store.upsert(changed);
    broker.store.remove("gone");
    broker.dispatch.advance(45s);
    EXPECT_EQ(told, QStringList({"changed", "gone"}));
    EXPECT_EQ(Broker::rowsText(broker.store.asks()), "changed ? Bash: ls | s . Answer in terminal — Bash: ls");

    broker.router->expire(changed);
    EXPECT_EQ(Broker::rowsText(broker.store.asks()), "s . Answer in terminal — Bash: ls");
    broker.router->expire(changed);
    EXPECT_EQ(Broker::rowsText(broker.store.asks()), "s . Answer in terminal — Bash: ls");
}

TEST(EventRouter, ForgetsTheSessionThenItsMuteThenItsPolicyThenItsRows) {
    Broker broker;
    broker.post("/register", session("s"), "hook");
    broker.registry.setPolicy(AutoDecision::wait, "s");
    broker.post("/permission", bash("s", "r"), "hook");
    broker.registry.setMuted(true, "s");
    broker.take();
    QObject::connect(&broker.registry, &SessionRegistry::sessionsWillChange, [&] { broker.note("sessions"); });
    QObject::connect(&broker.registry, &SessionRegistry::mutedIdsWillChange, [&] { broker.note("mutes"); });
    QObject::connect(&broker.registry, &SessionRegistry::policiesWillChange, [&] { broker.note("policies"); });
    broker.post("/unregister", session("s"), "hook");
    EXPECT_EQ(broker.take(), QStringList({"hook < ok", "sessions", "mutes", "policies", "rows: "}));
}

TEST(EventRouter, LeavesARowThatIsNoLongerTheOneThatWasParked) {
    // Each changes one field; the row's identity stays.
    const std::function<void(AskEvent&)> changes[] = {
        [](AskEvent& ask) { ask.sessionId = "other"; },
        [](AskEvent& ask) { ask.cwd = "/other"; },
        [](AskEvent& ask) { ask.message = "other"; },
        [](AskEvent& ask) { ask.tty = "pts/9"; },
        [](AskEvent& ask) { ask.termProgram = "other"; },
        [](AskEvent& ask) { ask.receivedAt += 1ms; },
        [](AskEvent& ask) { ask.toolName = "other"; },
        [](AskEvent& ask) { ask.actionSummary = "other"; },
        [](AskEvent& ask) { ask.notificationType = "other"; },
        [](AskEvent& ask) { ask.agentType = "other"; },
        [](AskEvent& ask) { ask.source = "other"; },
        [](AskEvent& ask) { ask.detail = "other"; },
        [](AskEvent& ask) { ask.tmuxPane = "%9"; },
        [](AskEvent& ask) { ask.weztermPane = "9"; },
        [](AskEvent& ask) { ask.kittyWindowId = "9"; },
        [](AskEvent& ask) {
            ask.options = {{"1", "Yes"}};
        },
        [](AskEvent& ask) { ask.acceptsText = true; },
    };
    int number = 0;
    for (const auto& change : changes) {
        Broker broker;
        broker.post("/permission", bash("s", "r"), "hook");
        AskEvent row = *broker.store.asks().first();
        change(row);
        broker.store.upsert(row);
        broker.take();
        broker.dispatch.advance(1h);
        EXPECT_EQ(broker.take(), QStringList({"at 45 s", askWord})) << number;
        ASSERT_EQ(broker.store.asks().size(), 1) << number;
        EXPECT_EQ(*broker.store.asks().first(), row) << number;
        ++number;
    }
}

TEST(EventRouter, ChangesRowsOnTheMainQueueAndEndsWaitsOnTheGlobalOne) {
    Broker broker;
    broker.settings.setNotificationAutoDismissSeconds(1);
    broker.registry.setPolicy(AutoDecision::allow, "toast");
    std::vector<std::string> queues;
    QObject::connect(&broker.store, &AskStore::asksWillChange,
                     [&] { queues.push_back("rows on " + broker.dispatch.runningQueue()); });
    broker.post("/permission", bash("toast", "t"), "hook");
    broker.post("/event", notice("s", "confirm"), "hook");
    broker.router->route("/permission", bash("p", "r"), {.respond = [&](const QByteArray&) {
                             queues.push_back("reply on " + broker.dispatch.runningQueue());
                         }});
    queues.clear();
    broker.dispatch.advance(1s);
    EXPECT_EQ(queues, std::vector<std::string>({"rows on main"}));
    broker.dispatch.advance(2s);
    EXPECT_EQ(queues, std::vector<std::string>({"rows on main", "rows on main"}));
    queues.clear();
    broker.dispatch.advance(42s);
    EXPECT_EQ(queues, std::vector<std::string>({"reply on global", "rows on main", "rows on main"}));
}

TEST(EventRouter, KeepsOnlyWhatPointsAtTheTerminalInTheExpiryNotice) {
    Broker broker;
    broker.post("/permission",
                R"({"session_id":"s","request_id":"r","cwd":"/p","message":"m","tty":"pts/1","term_program":"kitty",
                "tool_name":"Edit","tool_input":{"file_path":"/f"},"notification_type":"n","agent_type":"a",
                "source":"codex","tmux_pane":"%1","wezterm_pane":"2","kitty_window_id":"3"})",
                "hook");
    const WallTime arrival = broker.dispatch.now();
    broker.dispatch.advance(45s);
    const AskEvent expected{.sessionId = "s",
                            .cwd = "/p",
                            .message = "Answer in terminal — Edit: /f",
                            .tty = "pts/1",
                            .termProgram = "kitty",
                            .receivedAt = arrival,
                            .notificationType = "permission_prompt",
                            .agentType = "a",
                            .source = "codex"};
    ASSERT_EQ(broker.store.asks().size(), 1);
    EXPECT_EQ(*broker.store.asks().first(), expected);
}

TEST(EventRouter, KeepsLessStillInTheToast) {
    Broker broker;
    broker.settings.setDefaultPolicy(AutoDecision::allow);
    broker.post("/permission",
                R"({"session_id":"s","request_id":"r","cwd":"/p","message":"m","tty":"pts/1","term_program":"kitty",
                "tool_name":"Edit","tool_input":{"file_path":"/src/main.c"},"notification_type":"n","agent_type":"a",
                "source":"codex","tmux_pane":"%1","wezterm_pane":"2","kitty_window_id":"3"})",
                "hook");
    const AskEvent expected{.sessionId = "s",
                            .cwd = "/p",
                            .message = "Auto-allowed: Edit: /src/main.c",
                            .tty = "pts/1",
                            .termProgram = "kitty",
                            .receivedAt = broker.dispatch.now(),
                            .source = "codex"};
    ASSERT_EQ(broker.store.asks().size(), 1);
    EXPECT_EQ(*broker.store.asks().first(), expected);
}

TEST(EventRouter, TellsItsStatus) {
    Broker broker;
    const auto status = [&] {
        broker.post("/status", "", "");
        return QJsonDocument::fromJson(broker.take().first().mid(3).toUtf8()).object();
    };
    const QJsonObject fresh{{"build", "v6"},
                            {"silent", false},
                            {"trackOnlyOptIn", false},
                            {"defaultPolicy", "wait"},
                            {"decisionWaitSeconds", 45},
                            {"pendingAsks", 0},
                            {"sessions", 0}};
    EXPECT_EQ(status(), fresh);
    EXPECT_FALSE(broker.router->statusJSON().contains(' '));
    EXPECT_FALSE(broker.router->statusJSON().contains('\n'));

    broker.post("/register", session("s"), "");
    broker.post("/permission", bash("s", "r"), "");
    broker.settings.setSilentMode(true);
    broker.settings.setDefaultPolicy(AutoDecision::deny);
    broker.settings.setDecisionWaitSeconds(60);
    broker.registry.setTrackOnlyOptIn(true);
    broker.take();
    const QJsonObject later{{"build", "v6"},
                            {"silent", true},
                            {"trackOnlyOptIn", true},
                            {"defaultPolicy", "deny"},
                            {"decisionWaitSeconds", 60},
                            {"pendingAsks", 1},
                            {"sessions", 1}};
    EXPECT_EQ(status(), later);
}

TEST(EventRouter, TimersThatOutliveItDoNothing) {
    Broker broker;
    broker.settings.setNotificationAutoDismissSeconds(1);
    broker.post("/event", notice("s", "confirm"), "hook");
    broker.post("/permission", bash("t", "r"), "hook");
    broker.router.reset();
    broker.dispatch.advance(100s);
    EXPECT_EQ(Broker::rowsText(broker.store.asks()), "s . confirm | r ? Bash: ls");
}

TEST(EventRouter, CarriesTheFocusAction) {
    Broker broker;
    QString focused;
    const auto router = EventRouter::create(broker.dispatch, broker.store, broker.registry, broker.settings,
                                            broker.decisions, [&](const AskEvent& ask) { focused = ask.sessionId; });
    router->onFocus()({.sessionId = "s"});
    EXPECT_EQ(focused, "s");
}

} // namespace
} // namespace pelorin
