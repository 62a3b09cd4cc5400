#include "BeaconryKit/relay/RelayClient.h"

#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/ManualDispatch.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Method = HTTPRequest::Method;

class RelayClientTest : public ::testing::Test {
protected:
    const HTTPRequest& last() const { return transport.sent.last().request; }

    /// Polls that every firing so far has led to.
    qsizetype polls() const { return transport.sent.size(); }

    void startPolling(double interval = 5.0) {
        client->startPolling(
            interval, [this] { return config; },
            [this](const QString& id, const QString& decision) { decided.append(id + "=" + decision); });
    }

    ManualDispatch dispatch;
    FakeHTTPTransport transport;
    std::optional<RelayClient> client{std::in_place, dispatch, transport};
    std::optional<RelayConfig> config = RelayConfig{"https://relay.test/base", "tok"};
    QStringList decided;
};

TEST(RelayBase, TakesHttpAndHttpsInLowerCaseOnly) {
    const std::pair<const char*, std::optional<QUrl>> rows[] = {
        {"https://relay.test", QUrl("https://relay.test")},
        {"http://relay.test:8080/a/b/", QUrl("http://relay.test:8080/a/b/")},
        {" \thttps://relay.test\t ", QUrl("https://relay.test")},
        {"https://[::1]:8", QUrl("https://[::1]:8")},
        {"", std::nullopt},
        {" \t", std::nullopt},
        {"HTTPS://relay.test", std::nullopt},
        {"Http://relay.test", std::nullopt},
        {"ftp://relay.test", std::nullopt},
        {"httpsx://relay.test", std::nullopt},
        {"relay.test", std::nullopt},
        {"//relay.test", std::nullopt},
        {"localhost:8080", std::nullopt},
        {"https://", std::nullopt},
        {"https:", std::nullopt},
        {"https:relay.test", std::nullopt},
        {"https:///path", std::nullopt},
        {"https://relay test", std::nullopt},
        {"https://relay.test:99999", std::nullopt},
        {"https://relay.test\n", std::nullopt},
        {"file:///etc/passwd", std::nullopt},
    };
    for (const auto& [text, url] : rows)
        EXPECT_EQ(RelayClient::base(text), url) << text;
}

TEST_F(RelayClientTest, PushesTheWholeList) {
    const QJsonArray asks{QJsonObject{{"id", "r1"}, {"at", 1.5}}, QJsonObject{{"id", "r2"}}};
    client->sync(asks, "https://relay.test", "tok");
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(last().method, Method::post);
    EXPECT_EQ(last().url, QUrl("https://relay.test/sync"));
    EXPECT_THAT(last().headers, ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok"),
                                            std::pair<QByteArray, QByteArray>("Content-Type", "application/json")));
    EXPECT_EQ(last().timeout, 10s);
    EXPECT_EQ(QJsonDocument::fromJson(last().body).object(), (QJsonObject{{"asks", asks}}));
    EXPECT_FALSE(last().body.contains(' ')) << "Nothing is written prettily.";
    EXPECT_FALSE(transport.sent.last().completion) << "Nobody listens for the answer.";
}

TEST_F(RelayClientTest, PushesAnEmptyListAsSuch) {
    client->sync({}, "https://relay.test", "tok");
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(last().body, R"({"asks":[]})");
}

TEST_F(RelayClientTest, KeepsPushesInOneQueueAndNothingElse) {
    client->sync({}, "https://relay.test", "tok");
    client->sync({}, "https://relay.test", "tok");
    ASSERT_EQ(transport.sent.size(), 2);
    EXPECT_EQ(transport.sent[0].request.queue, transport.sent[1].request.queue);
    EXPECT_NE(transport.sent[0].request.queue, "");
    client->clear("r1", "https://relay.test", "tok");
    EXPECT_EQ(last().queue, "");
    startPolling();
    dispatch.advance(5s);
    EXPECT_EQ(last().queue, "");
}

TEST_F(RelayClientTest, ClearsOneAsk) {
    client->clear("r \"1\"", "http://relay.test/x", "tok");
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(last().method, Method::post);
    EXPECT_EQ(last().url, QUrl("http://relay.test/x/clear"));
    EXPECT_THAT(last().headers, ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok"),
                                            std::pair<QByteArray, QByteArray>("Content-Type", "application/json")));
    EXPECT_EQ(last().body, R"({"id":"r \"1\""})");
    EXPECT_EQ(last().timeout, 10s);
    EXPECT_FALSE(transport.sent.last().completion);
}

TEST_F(RelayClientTest, AppendsTheEndpointToWhateverTheBaseEndsIn) {
    const std::pair<const char*, const char*> rows[] = {
        {"https://relay.test", "https://relay.test/sync"},
        {"https://relay.test/", "https://relay.test/sync"},
        {"https://relay.test///", "https://relay.test/sync"},
        {"https://relay.test/a/b", "https://relay.test/a/b/sync"},
        {"https://relay.test/a/b//", "https://relay.test/a/b/sync"},
        {"  https://relay.test/a\t", "https://relay.test/a/sync"},
        {"https://relay.test/a%2Fb%20c", "https://relay.test/a%2Fb%20c/sync"},
        {"https://relay.test/a?x=1", "https://relay.test/a/sync?x=1"},
    };
    for (const auto& [base, url] : rows) {
        client->sync({}, base, "tok");
        EXPECT_EQ(last().url.toEncoded(), url) << base;
    }
}

TEST_F(RelayClientTest, SendsTheTokenAsItIsStored) {
    client->sync({}, "https://relay.test", " t\u00f6k ");
    EXPECT_EQ(last().headers.first().second, "Bearer  t\xc3\xb6k ");
}

TEST_F(RelayClientTest, SendsNothingWithoutAUsableAddressAndAToken) {
    int lists = 0;
    QList<RelayClient::Removal> removals;
    const std::pair<QString, QString> rows[] = {
        {"ftp://relay.test", "tok"}, {"HTTPS://relay.test", "tok"}, {"relay.test", "tok"}, {"", "tok"}, {" ", "tok"},
        {"https://relay.test", ""}};
    for (const auto& [url, token] : rows) {
        client->sync({}, url, token);
        client->clear("r1", url, token);
        client->devices(url, token, [&](const auto& devices) {
            EXPECT_EQ(devices, std::nullopt);
            ++lists;
        });
        client->removeDevice("d1", url, token, [&](RelayClient::Removal removal) { removals.append(removal); });
        config = RelayConfig{url, token};
        startPolling();
        dispatch.advance(5s);
    }
    EXPECT_THAT(transport.sent, IsEmpty());
    EXPECT_EQ(lists, std::ssize(rows));
    EXPECT_EQ(removals, QList<RelayClient::Removal>(std::ssize(rows), RelayClient::Removal::failed));
}

TEST_F(RelayClientTest, PollsAfterEachInterval) {
    startPolling();
    dispatch.advance(5s - 1ns);
    EXPECT_EQ(polls(), 0);
    dispatch.advance(1ns);
    ASSERT_EQ(polls(), 1);
    EXPECT_EQ(last().method, Method::get);
    EXPECT_EQ(last().url, QUrl("https://relay.test/base/poll"));
    EXPECT_THAT(last().headers, ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok")));
    EXPECT_EQ(last().body, "");
    EXPECT_EQ(last().timeout, 10s);
    dispatch.advance(5s - 1ns);
    EXPECT_EQ(polls(), 1);
    dispatch.advance(1ns);
    EXPECT_EQ(polls(), 2);
    dispatch.advance(50s);
    EXPECT_EQ(polls(), 12);
}

TEST_F(RelayClientTest, TakesAnIntervalInFractionsOfASecond) {
    startPolling(0.25);
    dispatch.advance(250ms - 1ns);
    EXPECT_EQ(polls(), 0);
    dispatch.advance(1ns);
    EXPECT_EQ(polls(), 1);
}

TEST_F(RelayClientTest, PollsOnItsOwnQueueAndDecidesOnTheMainOne) {
    std::vector<std::string> queues;
    client->startPolling(
        5.0,
        [&] {
            queues.push_back(dispatch.runningQueue());
            return config;
        },
        [&](const QString&, const QString&) { queues.push_back(dispatch.runningQueue()); });
    dispatch.advance(5s);
    transport.sent.last().answer(R"({"decisions":[{"id":"r1","decision":"allow"}]})");
    dispatch.runDue();
    EXPECT_THAT(queues, ElementsAre("com.pelorin.relay", "main"));
}

TEST_F(RelayClientTest, AnswersAboutPhonesOnTheMainQueue) {
    std::vector<std::string> queues;
    client->devices("https://relay.test", "tok", [&](const auto&) { queues.push_back(dispatch.runningQueue()); });
    client->removeDevice("p", "https://relay.test", "tok",
                         [&](RelayClient::Removal) { queues.push_back(dispatch.runningQueue()); });
    // Neither of these is sent.
    client->devices("", "tok", [&](const auto&) { queues.push_back(dispatch.runningQueue()); });
    client->removeDevice("p", "", "tok", [&](RelayClient::Removal) { queues.push_back(dispatch.runningQueue()); });
    for (const auto& sent : transport.sent)
        sent.answer("{}");
    dispatch.runDue();
    EXPECT_THAT(queues, ElementsAre("main", "main", "main", "main"));
}

TEST_F(RelayClientTest, AsksForTheConfigurationBeforeEachPoll) {
    startPolling();
    config.reset();
    dispatch.advance(10s);
    EXPECT_EQ(polls(), 0);
    config = RelayConfig{"http://other.test", "new"};
    dispatch.advance(5s);
    ASSERT_EQ(polls(), 1);
    EXPECT_EQ(last().url, QUrl("http://other.test/poll"));
    EXPECT_EQ(last().headers.first().second, "Bearer new");
    config = RelayConfig{"http://other.test", ""};
    dispatch.advance(5s);
    EXPECT_EQ(polls(), 1);
}

TEST_F(RelayClientTest, PollsOnWhileAnAnswerIsSlow) {
    startPolling();
    dispatch.advance(10s);
    ASSERT_EQ(polls(), 2);
    transport.sent[1].answer(R"({"decisions":[{"id":"second","decision":"deny"}]})");
    transport.sent[0].answer(R"({"decisions":[{"id":"first","decision":"allow"}]})");
    dispatch.runDue();
    EXPECT_THAT(decided, ElementsAre("second=deny", "first=allow"));
}

TEST_F(RelayClientTest, HandsDecisionsToTheMainQueueWhateverTheStatus) {
    startPolling();
    dispatch.advance(5s);
    transport.sent[0].answer(
        R"({"decisions":[{"id":"r1","decision":"allow"},{"id":2,"decision":"allow"},{"id":"r3"}]})", 503);
    EXPECT_THAT(decided, IsEmpty()) << "Not within the answer.";
    dispatch.runDue();
    EXPECT_THAT(decided, ElementsAre("r1=allow"));
}

TEST_F(RelayClientTest, MakesNothingOfABrokenAnswer) {
    startPolling();
    dispatch.advance(15s);
    transport.sent[0].answer(R"([{"id":"r1","decision":"allow"}])");
    transport.sent[1].answer("nonsense");
    transport.sent[2].fail();
    dispatch.runDue();
    EXPECT_THAT(decided, IsEmpty());
    dispatch.advance(5s);
    EXPECT_EQ(polls(), 4);
}

TEST_F(RelayClientTest, ReplacesThePollingThatWasUnderWay) {
    startPolling();
    dispatch.advance(4s);
    startPolling();
    dispatch.advance(5s - 1ns);
    EXPECT_EQ(polls(), 0);
    dispatch.advance(1ns);
    EXPECT_EQ(polls(), 1);
    dispatch.advance(5s);
    EXPECT_EQ(polls(), 2);
}

TEST_F(RelayClientTest, StopsPolling) {
    startPolling();
    dispatch.advance(5s);
    client->stopPolling();
    dispatch.advance(1min);
    EXPECT_EQ(polls(), 1);
    client->stopPolling();
    startPolling();
    dispatch.advance(5s);
    EXPECT_EQ(polls(), 2);
}

TEST_F(RelayClientTest, PollsNoMoreOnceItIsGone) {
    startPolling();
    client.reset();
    dispatch.advance(1min);
    EXPECT_EQ(polls(), 0);
}

TEST_F(RelayClientTest, ListsPhones) {
    std::optional<QList<RelayDevice>> phones;
    client->devices("https://relay.test/", "tok", [&](const auto& devices) { phones = devices; });
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(last().method, Method::get);
    EXPECT_EQ(last().url, QUrl("https://relay.test/devices"));
    EXPECT_THAT(last().headers, ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok")));
    EXPECT_EQ(last().body, "");
    EXPECT_EQ(last().timeout, 8s);
    transport.sent[0].answer(R"({"devices":[{"id":"d1"}]})");
    EXPECT_EQ(phones, std::nullopt) << "On a later turn of the main queue.";
    dispatch.runDue();
    ASSERT_TRUE(phones);
    EXPECT_THAT(*phones, ElementsAre(RelayDevice{.id = "d1", .label = "phone", .country = "", .ua = ""}));
}

TEST_F(RelayClientTest, TellsWhenPhonesCouldNotBeListed) {
    QStringList outcomes;
    const auto note = [&](const std::optional<QList<RelayDevice>>& devices) {
        outcomes.append(devices ? "list" : "none");
    };
    client->devices("https://relay.test", "tok", note);
    client->devices("https://relay.test", "tok", note);
    transport.sent[0].fail();
    transport.sent[1].answer("{}", 401);
    dispatch.runDue();
    EXPECT_THAT(outcomes, ElementsAre("none", "none"));
}

TEST_F(RelayClientTest, RemovesAPhone) {
    QList<RelayClient::Removal> removals;
    const auto note = [&](RelayClient::Removal removal) {
        removals.append(removal);
    };
    for (int time = 0; time < 4; ++time)
        client->removeDevice("d1", "https://relay.test", "tok", note);
    EXPECT_EQ(last().method, Method::post);
    EXPECT_EQ(last().url, QUrl("https://relay.test/device-remove"));
    EXPECT_THAT(last().headers, ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok"),
                                            std::pair<QByteArray, QByteArray>("Content-Type", "application/json")));
    EXPECT_EQ(last().body, R"({"id":"d1"})");
    EXPECT_EQ(last().timeout, 8s);
    transport.sent[0].answer("whatever");
    transport.sent[1].answer("", 204);
    transport.sent[2].answer("{}", 404);
    transport.sent[3].fail();
    EXPECT_THAT(removals, IsEmpty()) << "On a later turn of the main queue.";
    dispatch.runDue();
    EXPECT_THAT(removals, ElementsAre(RelayClient::Removal::done, RelayClient::Removal::done,
                                      RelayClient::Removal::failed, RelayClient::Removal::failed));
}

} // namespace
} // namespace pelorin
