#include "BeaconryKit/service/HelpedSessions.h"

#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/service/EventRouter.h"
#include "BeaconryKit/service/SessionActions.h"

#include <QCoreApplication>
#include <gmock/gmock.h>

#include <map>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The members that our helper puts into a body.
QByteArray helper(qint64 cliProcess = 0, const char* cliStartTime = "1") {
    return QStringLiteral(R"("helper_version":1,"helper_process":7,"cli_process":%1,"cli_start_time":"%2")")
        .arg(cliProcess)
        .arg(cliStartTime)
        .toUtf8();
}

class HelpedSessionsTest : public ::testing::Test {
protected:
    HelpedSessionsTest() {
        router->keepDetails(details);
        router->setHelpedSessions(sessions);
    }

    void post(const QByteArray& path, const QByteArray& members) {
        router->route(path, "{" + members + "}", {.respond = [this](const QByteArray& reply) {
                          if (reply != "ok")
                              replies.append(reply);
                      }});
    }
    void ask(const QByteArray& session, const QByteArray& request, const QByteArray& more = helper()) {
        post("/permission",
             R"("session_id":")" + session + R"(","request_id":")" + request + R"(","tool_name":"Bash",)" + more);
    }
    void tell(const QByteArray& path, const QByteArray& session, const QByteArray& more = helper()) {
        post(path, R"("session_id":")" + session + R"(","cwd":"/home/user/api",)" + more);
    }
    void endProcess(qint64 process) {
        const Task task = watched.at(process);
        watched.erase(process);
        task();
        settle();
    }
    void settle() {
        dispatch.runDue();
        QCoreApplication::sendPostedEvents();
    }
    QStringList listed() const {
        QStringList ids;
        for (const SessionInfo& session : registry.sessions())
            ids.append(session.sessionId);
        return ids;
    }
    QStringList shown() const {
        QStringList ids;
        for (const SharedAsk& row : store.asks())
            ids.append(row->id());
        return ids;
    }

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter decisions{dispatch};
    RequestDetails details{store};
    // Processes below 1000 run.
    std::map<qint64, Task> watched;
    HelpedSessions sessions{
        {.dispatch = dispatch, .store = store, .registry = registry, .router = decisions, .details = details},
        [this](qint64 process, quint64 startTime, Task onEnd) {
            return process < 1000 && startTime == 1 && watched.emplace(process, std::move(onEnd)).second;
        }};
    SessionActions actions{store, registry, settings};
    std::shared_ptr<EventRouter> router =
        EventRouter::create(dispatch, store, registry, settings, decisions, [](const AskEvent&) {});
    QList<QByteArray> replies;
};

const QByteArray handedBack = R"({"decision":"ask"})";

TEST_F(HelpedSessionsTest, MutingHandsTheWaitingRequestsOfOurHelperBack) {
    ask("s", "ours");
    ask("s", "foreign", R"("extra":1)");
    ask("t", "other");
    actions.setMuted(true, "s");
    EXPECT_THAT(replies, IsEmpty());
    settle();
    EXPECT_THAT(replies, ElementsAre(handedBack));
    EXPECT_EQ(shown(), QStringList("other"));
    EXPECT_FALSE(decisions.resolve("ours", Decision::allow));

    // The other sender's hook waits on, as ever; neither leaves a notice.
    dispatch.advance(45s);
    EXPECT_THAT(replies, ElementsAre(handedBack, handedBack, handedBack));
    EXPECT_EQ(shown(), QStringList("t"));
}

TEST_F(HelpedSessionsTest, ASessionThatLeavesHandsItsRequestsBack) {
    ask("s", "ours");
    ask("s", "foreign", R"("extra":1)");
    tell("/unregister", "s", R"("extra":1)");
    settle();
    EXPECT_THAT(replies, ElementsAre(handedBack));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(decisions.resolve("foreign", Decision::allow));
}

TEST_F(HelpedSessionsTest, MutingLeavesTheRequestThatAnotherSenderHasReplaced) {
    ask("s", "r");
    ask("s", "r", R"("extra":1)");
    actions.setMuted(true, "s");
    settle();
    EXPECT_THAT(replies, IsEmpty());
}

TEST_F(HelpedSessionsTest, AnEventOfAnUnknownSessionListsIt) {
    tell("/clear", "cleared");
    tell("/event", "told", R"("message":"m",)" + helper());
    ask("asked", "r");
    EXPECT_EQ(listed(), QStringList({"cleared", "told", "asked"}));
    EXPECT_EQ(registry.session("cleared")->cwd, "/home/user/api");
}

TEST_F(HelpedSessionsTest, AnEventOfAnotherSenderListsNothing) {
    tell("/clear", "cleared", R"("extra":1)");
    tell("/event", "told", R"("message":"m")");
    ask("asked", "r", R"("extra":1)");
    tell("/unregister", "left");
    post("/event", helper());
    post("/clear", R"("session_id":5,)" + helper());
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(HelpedSessionsTest, AnEventChangesNothingOfAKnownSession) {
    tell("/register", "s", R"("label":"api","opt_in":true,)" + helper());
    tell("/clear", "s", R"("tty":"pts/9",)" + helper());
    ASSERT_EQ(listed(), QStringList("s"));
    EXPECT_EQ(registry.session("s")->label, "api");
    EXPECT_EQ(registry.session("s")->tty, "");
}

TEST_F(HelpedSessionsTest, AMissedSessionOfTheLauncherIsFollowedWithItsFirstRequest) {
    registry.setTrackOnlyOptIn(true);
    ask("s", "r", R"("opt_in":true,)" + helper());
    EXPECT_EQ(shown(), QStringList("r"));
}

TEST_F(HelpedSessionsTest, WhatComesLateOfASessionThatHasLeftDoesNotListItAgain) {
    tell("/register", "s");
    tell("/unregister", "s");
    tell("/clear", "s");
    EXPECT_THAT(listed(), IsEmpty());
    // It may be taken up again.
    tell("/register", "s");
    EXPECT_EQ(listed(), QStringList("s"));
}

TEST_F(HelpedSessionsTest, TheEndOfTheProcessEndsItsSessions) {
    tell("/register", "a", helper(10));
    tell("/clear", "b", helper(10));
    tell("/register", "c", helper(11));
    registry.setMuted(true, "c");
    registry.setPolicy(AutoDecision::deny, "a");
    ask("b", "r", helper(10));
    ask("c", "other", helper(11));
    endProcess(10);
    EXPECT_EQ(listed(), QStringList("c"));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(registry.policy("a"), std::nullopt);
    EXPECT_TRUE(registry.isMuted("c"));
    EXPECT_FALSE(decisions.resolve("r", Decision::allow));
    // What its orphans still say is no new beginning.
    tell("/clear", "a");
    EXPECT_EQ(listed(), QStringList("c"));
}

TEST_F(HelpedSessionsTest, ASessionThatWentOnInAnotherProcessOutlivesTheFirst) {
    tell("/register", "s", helper(10));
    tell("/register", "s", helper(11));
    endProcess(10);
    EXPECT_EQ(listed(), QStringList("s"));
    endProcess(11);
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(HelpedSessionsTest, AProcessThatCannotBeFoundEndsNothingAndListsNothing) {
    tell("/register", "s", helper(5000));
    tell("/clear", "t", helper(5000));
    tell("/clear", "u", helper(10, "2"));
    settle();
    EXPECT_EQ(listed(), QStringList("s"));
}

TEST_F(HelpedSessionsTest, WatchesNoMoreProcessesThanAMachineMayRun) {
    for (int process = 1; process < 900; ++process)
        tell("/register", "s" + QByteArray::number(process), helper(process));
    EXPECT_EQ(watched.size(), 512U);
    EXPECT_EQ(listed().size(), 899);
}

TEST_F(HelpedSessionsTest, TheEndOfAProcessMayComeWhenAllHasGone) {
    Task late;
    {
        HelpedSessions gone(
            {.dispatch = dispatch, .store = store, .registry = registry, .router = decisions, .details = details},
            [&](qint64, quint64, Task onEnd) {
                late = std::move(onEnd);
                return true;
            });
        gone.meet(R"({"session_id":"s",)" + helper(10) + "}");
    }
    late();
    settle();
    EXPECT_EQ(listed(), QStringList("s"));
}

} // namespace
} // namespace pelorin
