#include "BeaconryKit/relay/RelaySocket.h"

#include "tests/support/FakeSocketTransport.h"
#include "tests/support/ManualDispatch.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QString helloFalse = R"({"type":"hello","term":false})";
const QString helloTrue = R"({"type":"hello","term":true})";
const QString ready = R"({"type":"ready"})";

TEST(SocketAddress, FollowsFromTheBaseAddress) {
    const std::pair<const char*, std::optional<QUrl>> rows[] = {
        {"https://relay.test", QUrl("wss://relay.test/ws-mac")},
        {"https://relay.test/a/b//", QUrl("wss://relay.test/a/b/ws-mac")},
        {"http://relay.test:8080///", QUrl("ws://relay.test:8080/ws-mac")},
        {"\t http://relay.test ", QUrl("ws://relay.test/ws-mac")},
        {"https://relay.test/http://x", QUrl("wss://relay.test/http://x/ws-mac")},
        {"HTTPS://relay.test", std::nullopt},
        {"Http://relay.test", std::nullopt},
        {"ftp://relay.test", std::nullopt},
        {"wss://relay.test", std::nullopt},
        {"relay.test", std::nullopt},
        {"https:relay.test", std::nullopt},
        {"https://", std::nullopt},
        {"https://relay test", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [base, url] : rows)
        EXPECT_EQ(RelaySocket::wsURL(base), url) << base;
}

class RelaySocketTest : public ::testing::Test {
protected:
    RelaySocket::Callbacks callbacks() {
        return {.config = [this] { return config; },
                .termEnabled = [this] { return termEnabled; },
                .onDecision = [this](const QString& id, const QString& decision) { log.append(id + "=" + decision); },
                .onInput = [this](const QString& text) { log.append("input " + text); },
                .onResize = [this](int cols, int rows) { log.append(QString("size %1x%2").arg(cols).arg(rows)); },
                .onNewShell =
                    [this] {
                        log.append("new shell");
                    }};
    }

    FakeConnection& connection(std::size_t number) { return *transport.connections.at(number); }
    std::size_t connections() const { return transport.connections.size(); }

    /// A connection that has delivered its first message.
    void startConfirmed() {
        socket->start();
        connection(0).deliver(ready);
        ASSERT_TRUE(socket->isConnected());
    }

    ManualDispatch dispatch;
    FakeSocketTransport transport{dispatch};
    std::optional<RelayConfig> config = RelayConfig{"https://relay.test/base//", "tok"};
    bool termEnabled = false;
    QStringList log;
    std::optional<RelaySocket> socket{std::in_place, dispatch, transport, callbacks()};
};

TEST_F(RelaySocketTest, IsIdleUntilItIsStarted) {
    dispatch.advance(1min);
    EXPECT_EQ(connections(), 0U);
    EXPECT_FALSE(socket->isConnected());
}

TEST_F(RelaySocketTest, ConnectsGreetsAndListens) {
    socket->start();
    ASSERT_EQ(connections(), 1U);
    EXPECT_EQ(connection(0).request.url, QUrl("wss://relay.test/base/ws-mac"));
    EXPECT_THAT(connection(0).request.headers,
                ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer tok")));
    EXPECT_EQ(connection(0).request.timeout, 60s);
    EXPECT_TRUE(connection(0).isResumed);
    EXPECT_THAT(connection(0).sent, ElementsAre(helloFalse));
    EXPECT_FALSE(connection(0).spokeTooEarly);
    EXPECT_EQ(connection(0).receivers.size(), 1U);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 1U);
}

TEST_F(RelaySocketTest, SendsTheTokenAsItStands) {
    config = RelayConfig{"https://relay.test", " \ttok\t "};
    socket->start();
    EXPECT_THAT(connection(0).request.headers,
                ElementsAre(std::pair<QByteArray, QByteArray>("Authorization", "Bearer  \ttok\t ")));
}

TEST_F(RelaySocketTest, WaitsForTheNextAttemptOnTheGlobalQueue) {
    std::vector<std::string> queues;
    RelaySocket::Callbacks noting = callbacks();
    noting.config = [&]() -> std::optional<RelayConfig> {
        queues.push_back(dispatch.runningQueue());
        return std::nullopt;
    };
    RelaySocket other(dispatch, transport, noting);
    other.start();
    dispatch.advance(2s);
    EXPECT_THAT(queues, ElementsAre("", "global"));
}

TEST_F(RelaySocketTest, IsConnectedOnlyOnceAMessageHasCome) {
    socket->start();
    EXPECT_FALSE(socket->isConnected());
    connection(0).deliver("nonsense that is ignored otherwise");
    EXPECT_TRUE(socket->isConnected());
    connection(0).fail();
    EXPECT_FALSE(socket->isConnected());
}

TEST_F(RelaySocketTest, IsConfirmedByABinaryMessageToo) {
    socket->start();
    connection(0).deliverBinary(R"({"type":"term-new"})");
    EXPECT_TRUE(socket->isConnected());
    EXPECT_THAT(log, IsEmpty()) << "But what it holds is ignored.";
    EXPECT_EQ(connection(0).receivers.size(), 1U);
}

TEST_F(RelaySocketTest, DoesWhatMessagesSayInTheirOrder) {
    startConfirmed();
    for (const char* text : {R"({"type":"decision","decisions":[{"id":"r1","decision":"allow"},{"id":3},
                                                                {"id":"r2","decision":"no"}]})",
                             R"({"type":"decision","decisions":[]})", R"({"type":"term-in","data":"ls\n"})",
                             R"({"type":"term-size","cols":100})", R"({"type":"term-size"})", R"({"type":"term-new"})",
                             R"({"type":"other"})", "[]"})
        connection(0).deliver(text);
    EXPECT_THAT(log, ElementsAre("r1=allow", "r2=no", "input ls\n", "size 100x24", "size 80x24", "new shell"));
    EXPECT_TRUE(socket->isConnected());
    EXPECT_EQ(connections(), 1U);
}

TEST_F(RelaySocketTest, ConnectsAgainTwoSecondsAfterAFailure) {
    startConfirmed();
    connection(0).fail();
    EXPECT_TRUE(connection(0).isGone);
    dispatch.advance(2s - 1ns);
    EXPECT_EQ(connections(), 1U);
    dispatch.advance(1ns);
    ASSERT_EQ(connections(), 2U);
    EXPECT_THAT(connection(1).sent, ElementsAre(helloFalse));
}

TEST_F(RelaySocketTest, TriesEveryTwoSecondsWithoutEndOrDelay) {
    socket->start();
    for (std::size_t attempt = 0; attempt < 1000; ++attempt) {
        ASSERT_EQ(connections(), attempt + 1);
        connection(attempt).fail();
        dispatch.advance(2s);
    }
}

TEST_F(RelaySocketTest, PicksUpAConfigurationThatIsSetLater) {
    const std::optional<RelayConfig> unusable[] = {std::nullopt, RelayConfig{"https://relay.test", ""},
                                                   RelayConfig{"", "tok"}, RelayConfig{"HTTPS://relay.test", "tok"},
                                                   RelayConfig{"ftp://relay.test", "tok"}};
    config = std::nullopt;
    socket->start();
    for (const auto& one : unusable) {
        config = one;
        dispatch.advance(2s);
        EXPECT_EQ(connections(), 0U);
    }
    dispatch.advance(2s - 1ns);
    config = RelayConfig{"http://relay.test", "late"};
    dispatch.advance(1ns);
    ASSERT_EQ(connections(), 1U);
    EXPECT_EQ(connection(0).request.url, QUrl("ws://relay.test/ws-mac"));
    EXPECT_EQ(connection(0).request.headers.first().second, "Bearer late");
}

TEST_F(RelaySocketTest, GreetsWithTheTerminalsPresentState) {
    termEnabled = true;
    startConfirmed();
    termEnabled = false;
    socket->sendHello();
    EXPECT_THAT(connection(0).sent, ElementsAre(helloTrue, helloFalse));
}

TEST_F(RelaySocketTest, SendsNothingWithoutAConnection) {
    socket->sendHello();
    socket->sendTermOut("lost");
    EXPECT_EQ(connections(), 0U);
    startConfirmed();
    connection(0).fail();
    socket->sendHello();
    socket->sendTermOut("lost");
    dispatch.advance(2s);
    EXPECT_THAT(connection(0).sent, ElementsAre(helloFalse));
    EXPECT_THAT(connection(1).sent, ElementsAre(helloFalse));
}

TEST_F(RelaySocketTest, SendsTheShellsOutput) {
    socket->start();
    socket->sendTermOut("a\r\n");
    ASSERT_EQ(connection(0).sent.size(), 2);
    EXPECT_EQ(QJsonDocument::fromJson(connection(0).sent[1].toUtf8()).object(),
              (QJsonObject{{"type", "term-out"}, {"data", "a\r\n"}}));
}

TEST_F(RelaySocketTest, ConnectsTwiceWhenItIsToReconnect) {
    startConfirmed();
    config = RelayConfig{"https://other.test", "tok2"};
    socket->reconnect();
    EXPECT_FALSE(socket->isConnected());
    EXPECT_EQ(connection(0).cancelled, SocketCloseCode::goingAway);
    ASSERT_EQ(connections(), 2U) << "At once.";
    EXPECT_EQ(connection(1).request.url, QUrl("wss://other.test/ws-mac"));
    EXPECT_EQ(connection(1).request.headers.first().second, "Bearer tok2");

    // The old connection's end forgets the new one, without closing it.
    dispatch.runDue();
    socket->sendTermOut("lost");
    EXPECT_THAT(connection(1).sent, ElementsAre(helloFalse));
    EXPECT_FALSE(connection(1).isGone);
    EXPECT_EQ(connection(1).cancelled, std::nullopt);
    dispatch.advance(2s - 1ns);
    EXPECT_EQ(connections(), 2U);
    dispatch.advance(1ns);
    ASSERT_EQ(connections(), 3U);
    socket->sendTermOut("kept");
    EXPECT_EQ(connection(2).sent.size(), 2);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 3U);
}

TEST_F(RelaySocketTest, ReconnectsFromWaitingToo) {
    config = std::nullopt;
    socket->start();
    socket->reconnect();
    EXPECT_EQ(connections(), 0U);
    config = RelayConfig{"https://relay.test", "tok"};
    socket->reconnect();
    ASSERT_EQ(connections(), 1U);
    // The attempt that was due takes its place as well.
    dispatch.advance(2s);
    EXPECT_EQ(connections(), 2U);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 2U);
}

TEST_F(RelaySocketTest, StillTakesADecisionFromAForgottenConnection) {
    startConfirmed();
    socket->reconnect();
    dispatch.runDue();
    connection(1).deliver(R"({"type":"decision","decisions":[{"id":"r1","decision":"allow"}]})");
    EXPECT_THAT(log, ElementsAre("r1=allow"));
    EXPECT_TRUE(socket->isConnected());
    EXPECT_THAT(connection(1).receivers, IsEmpty()) << "There is no present connection to ask for more.";
}

TEST_F(RelaySocketTest, AsksThePresentConnectionAfterAMessageOfAForgottenOne) {
    startConfirmed();
    socket->reconnect();
    dispatch.advance(2s);
    connection(1).deliver(ready);
    EXPECT_THAT(connection(1).receivers, IsEmpty());
    EXPECT_EQ(connection(2).receivers.size(), 2U);
}

TEST_F(RelaySocketTest, ClosesAForgottenConnectionAMinuteLater) {
    startConfirmed();
    socket->reconnect();
    dispatch.runDue();
    dispatch.advance(60s - 1ns);
    EXPECT_FALSE(connection(1).isGone);
    dispatch.advance(1ns);
    EXPECT_TRUE(connection(1).isGone);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 3U) << "Its end is nobody's failure.";
    EXPECT_FALSE(connection(2).isGone);
}

TEST_F(RelaySocketTest, BearsTheLateFailureOfAForgottenConnection) {
    startConfirmed();
    socket->reconnect();
    dispatch.advance(2s);
    connection(2).deliver(ready);
    connection(1).fail();
    EXPECT_FALSE(socket->isConnected());
    EXPECT_TRUE(connection(1).isGone);
    EXPECT_FALSE(connection(2).isGone);
    dispatch.advance(2s);
    EXPECT_EQ(connections(), 4U);
}

TEST_F(RelaySocketTest, MakesOneConnectionOfManyLostAtOnce) {
    startConfirmed();
    for (int key = 0; key < 40; ++key) {
        socket->reconnect();
        dispatch.advance(100ms);
    }
    dispatch.advance(3s);
    const auto before = connections();
    for (const auto& lost : std::vector(transport.connections))
        lost->fail();
    dispatch.advance(2s);
    EXPECT_EQ(connections(), before + 1);
    dispatch.advance(2min);
    EXPECT_EQ(connections(), before + 1);
    EXPECT_EQ(std::ranges::count_if(transport.connections, [](const auto& one) { return !one->isGone; }), 1);
}

TEST_F(RelaySocketTest, StopsForGood) {
    startConfirmed();
    socket->stop();
    EXPECT_FALSE(socket->isConnected());
    EXPECT_EQ(connection(0).cancelled, SocketCloseCode::goingAway);
    EXPECT_TRUE(connection(0).isGone);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 1U);
    socket->reconnect();
    socket->sendHello();
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 1U);
}

TEST_F(RelaySocketTest, DoesNotConnectOnATimerThatWasUnderWayWhenItStopped) {
    startConfirmed();
    connection(0).fail();
    dispatch.advance(1s);
    socket->stop();
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 1U);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

TEST_F(RelaySocketTest, StartsAgainAfterAStop) {
    startConfirmed();
    socket->stop();
    dispatch.runDue();
    socket->start();
    ASSERT_EQ(connections(), 2U);
    connection(1).deliver(ready);
    EXPECT_TRUE(socket->isConnected());
    connection(1).fail();
    dispatch.advance(2s);
    EXPECT_EQ(connections(), 3U);
}

TEST_F(RelaySocketTest, StopsItsForgottenConnectionsToo) {
    startConfirmed();
    socket->reconnect();
    dispatch.runDue();
    socket->stop();
    EXPECT_TRUE(connection(1).isGone);
}

TEST_F(RelaySocketTest, IsSilentOnceItIsGone) {
    startConfirmed();
    socket->reconnect();
    dispatch.runDue();
    socket.reset();
    for (const auto& one : transport.connections)
        EXPECT_TRUE(one->isGone);
    dispatch.advance(1h);
    EXPECT_EQ(connections(), 2U);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(RelaySocketTest, ToleratesAMessageThatArrivesAfterItIsGone) {
    startConfirmed();
    const SocketReceiver late = connection(0).receivers.front();
    socket.reset();
    late(SocketMessage{SocketMessage::Kind::text, R"({"type":"term-new"})"});
    late(std::nullopt);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

} // namespace
} // namespace pelorin
