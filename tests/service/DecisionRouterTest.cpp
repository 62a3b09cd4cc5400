#include "BeaconryKit/service/DecisionRouter.h"

#include "tests/support/ManualDispatch.h"

#include <QStringList>
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

class DecisionRouterTest : public ::testing::Test {
protected:
    Respond respondAs(const QString& name) {
        return [this, name](const QByteArray& body) {
            log << name + " " + QString::fromUtf8(body);
        };
    }
    std::function<void()> expireAs(const QString& name) {
        return [this, name] {
            log << name + " expired";
        };
    }

    ManualDispatch dispatch;
    DecisionRouter router{dispatch};
    QStringList log;
};

TEST_F(DecisionRouterTest, AnswersWithTheUsersDecisionOnce) {
    router.park("r", 60, respondAs("a"), expireAs("a"));
    EXPECT_TRUE(log.isEmpty());
    EXPECT_TRUE(router.resolve("r", Decision::allow));
    EXPECT_EQ(log, QStringList({R"(a {"decision":"allow"})"}));
    EXPECT_FALSE(router.resolve("r", Decision::deny));
    dispatch.advance(120s);
    EXPECT_EQ(log.size(), 1);
}

TEST_F(DecisionRouterTest, WritesEachDecisionToTheLetter) {
    const std::pair<Decision, const char*> rows[] = {{Decision::allow, R"(a {"decision":"allow"})"},
                                                     {Decision::deny, R"(a {"decision":"deny"})"},
                                                     {Decision::ask, R"(a {"decision":"ask"})"}};
    for (const auto& [decision, text] : rows) {
        router.park("r", 60, respondAs("a"), expireAs("a"));
        EXPECT_TRUE(router.resolve("r", decision));
        EXPECT_EQ(log, QStringList(text));
        log.clear();
    }
}

TEST_F(DecisionRouterTest, RepliesBeforeItReportsAnExpiry) {
    router.park("r", 60, respondAs("a"), expireAs("a"));
    dispatch.advance(60s - 1ns);
    EXPECT_TRUE(log.isEmpty());
    dispatch.advance(1ns);
    EXPECT_EQ(log, QStringList({R"(a {"decision":"ask"})", "a expired"}));
    EXPECT_FALSE(router.resolve("r", Decision::allow));
    EXPECT_EQ(log.size(), 2);
}

TEST_F(DecisionRouterTest, ExpiresWithoutAnExpiryCallback) {
    router.park("r", 1, respondAs("a"));
    dispatch.advance(1s);
    EXPECT_EQ(log, QStringList({R"(a {"decision":"ask"})"}));
}

TEST_F(DecisionRouterTest, ExpiresANewerParkAtTheOlderDeadline) {
    router.park("r", 60, respondAs("old"), expireAs("old"));
    dispatch.advance(30s);
    router.park("r", 60, respondAs("new"), expireAs("new"));
    dispatch.advance(30s - 1ns);
    EXPECT_TRUE(log.isEmpty());
    dispatch.advance(1ns);
    EXPECT_EQ(log, QStringList({R"(new {"decision":"ask"})", "new expired"}));
    dispatch.advance(120s);
    EXPECT_EQ(log.size(), 2);
}

TEST_F(DecisionRouterTest, ExpiresANewerParkAtTheDeadlineOfOneThatWasResolved) {
    router.park("r", 60, respondAs("old"), expireAs("old"));
    dispatch.advance(30s);
    EXPECT_TRUE(router.resolve("r", Decision::allow));
    router.park("r", 60, respondAs("new"), expireAs("new"));
    dispatch.advance(30s - 1ns);
    EXPECT_EQ(log, QStringList({R"(old {"decision":"allow"})"}));
    dispatch.advance(1ns);
    EXPECT_EQ(log, QStringList({R"(old {"decision":"allow"})", R"(new {"decision":"ask"})", "new expired"}));
}

TEST_F(DecisionRouterTest, RunsItsDeadlinesOnTheGlobalQueue) {
    std::vector<std::string> queues;
    router.park(
        "r", 60, [&](const QByteArray&) { queues.push_back(dispatch.runningQueue()); },
        [&] { queues.push_back(dispatch.runningQueue()); });
    dispatch.advance(60s);
    EXPECT_EQ(queues, std::vector<std::string>({"global", "global"}));
}

TEST_F(DecisionRouterTest, FreesAReplacedRequestsCallbacksUncalled) {
    auto owned = std::make_shared<int>();
    router.park("r", 60, [owned](const QByteArray&) { FAIL(); });
    router.park("r", 60, respondAs("new"));
    EXPECT_EQ(owned.use_count(), 1);
}

TEST_F(DecisionRouterTest, KnowsNothingOfAnIdThatWasNeverParked) {
    EXPECT_FALSE(router.resolve("r", Decision::allow));
    EXPECT_FALSE(router.finish("r", Decision::ask, true));
    router.park("r", 60, respondAs("a"));
    EXPECT_FALSE(router.resolve("", Decision::allow));
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(DecisionRouterTest, ReportsAnExpiryOnlyWhenItIsOne) {
    router.park("r", 60, respondAs("a"), expireAs("a"));
    EXPECT_TRUE(router.finish("r", Decision::deny, true));
    EXPECT_EQ(log, QStringList({R"(a {"decision":"deny"})", "a expired"}));
    router.park("r", 60, respondAs("b"), expireAs("b"));
    EXPECT_TRUE(router.finish("r", Decision::ask, false));
    EXPECT_EQ(log.last(), R"(b {"decision":"ask"})");
}

TEST_F(DecisionRouterTest, ExpiresAtOnceWithoutTimeButNeverInsidePark) {
    router.park("zero", 0, respondAs("zero"));
    router.park("negative", -5, respondAs("negative"));
    EXPECT_TRUE(log.isEmpty());
    dispatch.runDue();
    EXPECT_EQ(log, QStringList({R"(zero {"decision":"ask"})", R"(negative {"decision":"ask"})"}));
}

TEST_F(DecisionRouterTest, LetsCallbacksParkAgain) {
    router.park("r", 60, [this](const QByteArray&) { router.park("r", 60, respondAs("again")); });
    EXPECT_TRUE(router.resolve("r", Decision::allow));
    EXPECT_TRUE(router.resolve("r", Decision::deny));
    EXPECT_EQ(log, QStringList({R"(again {"decision":"deny"})"}));
}

TEST_F(DecisionRouterTest, WithdrawsOnlyTheHookThatWaits) {
    const auto first = std::make_shared<const char>();
    const auto second = std::make_shared<const char>();
    router.park("r", 60, respondAs("first"), expireAs("first"), first);
    router.park("r", 60, respondAs("second"), expireAs("second"), second);
    EXPECT_FALSE(router.withdraw("r", first));
    EXPECT_FALSE(router.withdraw("other", second));
    EXPECT_TRUE(router.withdraw("r", second));
    EXPECT_FALSE(router.withdraw("r", second));
    dispatch.advance(120s);
    EXPECT_TRUE(log.isEmpty());
}

TEST(DecisionRouter, LeavesNothingForDeadlinesThatOutliveIt) {
    ManualDispatch dispatch;
    {
        DecisionRouter router(dispatch);
        router.park("r", 1, [](const QByteArray&) { FAIL(); });
    }
    dispatch.advance(2s);
}

TEST(DecisionRouter, IsCompletedByExactlyOneOfManyThreads) {
    const auto dispatch = makeSystemDispatch();
    DecisionRouter router(*dispatch);
    for (int round = 0; round < 200; ++round) {
        std::atomic<int> replies = 0;
        std::atomic<int> wins = 0;
        router.park("r", 0.0005, [&](const QByteArray&) { ++replies; });
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&] { wins += router.resolve("r", Decision::allow) ? 1 : 0; });
        for (std::thread& thread : threads)
            thread.join();
        // The deadline may have been first, and may be replying still.
        while (replies == 0)
            std::this_thread::yield();
        EXPECT_EQ(replies, 1);
        EXPECT_LE(wins, 1);
    }
}

} // namespace
} // namespace pelorin
