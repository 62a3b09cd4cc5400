#include "BeaconryKit/service/RequestDetails.h"

#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/service/EventRouter.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

AskEvent request(const QString& session, const QString& id) {
    return {.sessionId = session, .requestId = id};
}

/// The details that hooks' requests leave.
class RoutedRequestDetails : public ::testing::Test {
protected:
    RoutedRequestDetails() { router->keepDetails(details); }

    void post(const QByteArray& path, const QByteArray& body) {
        router->route(path, body, {.respond = [](const QByteArray&) {
                      }});
    }

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter decisions{dispatch};
    RequestDetails details{store};
    std::shared_ptr<EventRouter> router = EventRouter::create(dispatch, store, registry, settings, decisions, {});
};

TEST(RequestDetails, AreKeptByRowAndBySession) {
    AskStore store;
    RequestDetails details(store);
    details.keep(request("s", "a"), HelperDetails{.version = 1, .helperProcess = 7});
    details.keep(request("s", "b"), HelperDetails{.version = 1, .helperProcess = 8});
    EXPECT_EQ(details.ofAsk(request("s", "a"))->helperProcess, 7);
    EXPECT_EQ(details.ofAsk(request("s", "b"))->helperProcess, 8);
    EXPECT_EQ(details.ofSession("s")->helperProcess, 8);
    EXPECT_FALSE(details.ofAsk(request("s", "c")));
    EXPECT_FALSE(details.ofSession("t"));
}

TEST(RequestDetails, DoNotOutliveAnAskOfAnotherSender) {
    AskStore store;
    RequestDetails details(store);
    details.keep(request("s", "a"), HelperDetails{.version = 1});
    details.keep(request("s", "a"), std::nullopt);
    EXPECT_FALSE(details.ofAsk(request("s", "a")));
    details.keepSession("s", HelperDetails{.version = 1});
    details.keepSession("s", std::nullopt);
    EXPECT_FALSE(details.ofSession("s"));
}

TEST(RequestDetails, ForgetRowsThatHaveGone) {
    AskStore store;
    RequestDetails details(store);
    const AskEvent kept = request("s", "kept");
    store.upsert(kept);
    details.keep(kept, HelperDetails{.version = 1});
    const AskEvent gone = request("s", "0");
    for (int count = 0; count < 100; ++count)
        details.keep(request("s", QString::number(count)), HelperDetails{.version = 1});
    EXPECT_TRUE(details.ofAsk(kept));
    EXPECT_FALSE(details.ofAsk(gone));
}

TEST(RequestDetails, HandOutTheRequestsWhoseRowsHaveGoneOnce) {
    AskStore store;
    RequestDetails details(store);
    for (const AskEvent& ask : {request("s", "kept"), request("s", "gone"), request("notice", {})}) {
        details.keep(ask, HelperDetails{.version = 1});
        store.upsert(ask);
    }
    store.remove("gone");
    store.remove("notice");
    EXPECT_EQ(details.takeLeftRequests(), QStringList("gone"));
    EXPECT_EQ(details.takeLeftRequests(), QStringList());

    for (int count = 0; count < 100; ++count)
        details.keep(request("t", QString::number(count)), HelperDetails{.version = 1});
    EXPECT_LE(details.takeLeftRequests().size(), 70);
    store.remove("kept");
    EXPECT_EQ(details.takeLeftRequests(), QStringList("kept"));
}

TEST_F(RoutedRequestDetails, TellWhenTheHookOfAnAskWaitsNoLonger) {
    const auto ask = [&] {
        post("/permission", R"({"session_id":"s","request_id":"r"})");
    };
    EXPECT_EQ(details.endOfWait("r"), std::nullopt);
    settings.setDecisionWaitSeconds(45);
    ask();
    const WallTime arrival = dispatch.now();
    settings.setDecisionWaitSeconds(300);
    dispatch.advance(10s);
    EXPECT_EQ(details.endOfWait("r"), arrival + 45s);
    ask();
    EXPECT_EQ(details.endOfWait("r"), arrival + 310s);
    EXPECT_EQ(details.endOfWait("s"), std::nullopt);

    for (int count = 0; count < 100; ++count)
        details.keepWait(request("t", QString::number(count)), arrival);
    EXPECT_EQ(details.endOfWait("0"), std::nullopt);
    EXPECT_EQ(details.endOfWait("r"), arrival + 310s);
}

TEST_F(RoutedRequestDetails, CountTheRequestsThatHaveExpiredIntoOneRow) {
    const auto count = [&] {
        const SharedAsk row = store.ask("s");
        return row ? details.expiredAsks(*row) : -1;
    };
    const auto expire = [&](const char* id) {
        post("/permission", QByteArray(R"({"session_id":"s","tool_name":"Bash","request_id":")") + id + "\"}");
    };
    expire("a");
    expire("b");
    dispatch.advance(45s);
    EXPECT_EQ(count(), 2);
    AskEvent unfolded = *store.ask("s");
    unfolded.detail = "unfolded";
    store.upsert(unfolded);
    EXPECT_EQ(count(), 2);
    // A new request takes the row away.
    expire("c");
    EXPECT_EQ(count(), -1);
    dispatch.advance(45s);
    EXPECT_EQ(count(), 1);
    post("/event", R"({"session_id":"s","message":"confirm"})");
    EXPECT_EQ(count(), 0);
}

TEST_F(RoutedRequestDetails, ComeWithTheHooksBodies) {
    post("/register", R"({"session_id":"s","helper_version":1,"helper_process":5})");
    EXPECT_EQ(details.ofSession("s")->helperProcess, 5);
    post("/permission", R"({"session_id":"s","request_id":"r","tool_name":"Bash","helper_version":1,
                            "helper_process":6})");
    EXPECT_EQ(details.ofAsk(request("s", "r"))->helperProcess, 6);
    post("/permission", R"({"session_id":"s","request_id":"foreign","tool_name":"Bash"})");
    EXPECT_FALSE(details.ofAsk(request("s", "foreign")));
    post("/event", R"({"session_id":"t","message":"m","notification_type":"permission_prompt","helper_version":1,
                       "helper_process":9})");
    EXPECT_EQ(details.ofAsk(request("t", {}))->helperProcess, 9);
    post("/unregister", R"({"session_id":"s"})");
    EXPECT_FALSE(details.ofSession("s"));
}

} // namespace
} // namespace pelorin
