#include "tests/app/DelegateFixture.h"

#include "BeaconryKit/relay/RelayMessages.h"

#include <QJsonDocument>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const QJsonObject configured{{"relayURL", "https://relay.test"}, {"relayToken", "secret"}};

/// The last path component of each request.
QStringList verbs(const QList<FakeHTTPTransport::Sent>& sent) {
    QStringList names;
    for (const auto& each : sent)
        names << each.request.url.path().section('/', -1);
    return names;
}

class RelayWiring : public DelegateFixture {
protected:
    explicit RelayWiring(const QJsonObject& settings = configured) : DelegateFixture(settings) {}
    void SetUp() override {
        start();
        settle();
    }

    FakeConnection& connection() { return *sockets.connections.back(); }
    QJsonArray pushed(int number) const {
        return QJsonDocument::fromJson(http.sent.at(number).request.body).object().value("asks").toArray();
    }
};

TEST_F(RelayWiring, ConnectsAtTheStartAndProvisionsNothingWithAToken) {
    ASSERT_THAT(sockets.connections, SizeIs(1));
    EXPECT_EQ(connection().request.url, QUrl("wss://relay.test/ws-mac"));
    EXPECT_THAT(connection().sent, ElementsAre(relayHello(PhoneTerminal::disabled)));
    EXPECT_THAT(http.sent, IsEmpty());
}

TEST_F(RelayWiring, PushesTheAsksOnceTheyHaveBeenQuiet) {
    row("one");
    dispatch.advance(59ms);
    row();
    dispatch.advance(59ms);
    EXPECT_THAT(http.sent, IsEmpty());
    dispatch.advance(1ms);
    ASSERT_EQ(verbs(http.sent), QStringList("sync"));
    const QJsonArray asks = pushed(0);
    ASSERT_EQ(asks.size(), 2);
    EXPECT_EQ(asks.at(0).toObject().value("id"), "one");
    EXPECT_EQ(asks.at(1).toObject().value("id"), "session");
    EXPECT_EQ(http.sent.at(0).request.headers,
              (QList<std::pair<QByteArray, QByteArray>>{{"Authorization", "Bearer secret"},
                                                        {"Content-Type", "application/json"}}));
}

TEST_F(RelayWiring, AnEmptyListIsPushedToo) {
    row();
    delegate.store().remove("session");
    dispatch.advance(60ms);
    ASSERT_EQ(verbs(http.sent), QStringList("sync"));
    EXPECT_EQ(pushed(0), QJsonArray());
}

TEST_F(RelayWiring, AThousandChangesGiveAHandfulOfPushesTheLastOneRight) {
    for (int change = 0; change < 1000; ++change) {
        row(QString("request %1").arg(change));
        dispatch.advance(change % 250 == 249 ? 60ms : 1ms);
    }
    // The relay takes its time: what comes meanwhile is one push with the newest list.
    ASSERT_EQ(http.sent.size(), 4);
    EXPECT_EQ(pushed(3).size(), 1000);
    EXPECT_EQ(pushed(3).last().toObject().value("id"), "request 999");
}

TEST_F(RelayWiring, APhonesDecisionIsTheRelaysWordOrADenial) {
    const std::pair<const char*, const char*> rows[] = {
        {"allow", "allow"}, {"deny", "deny"}, {"Allow", "deny"}, {"yes", "deny"}, {"", "deny"}};
    for (const auto& [word, decision] : rows) {
        replies.clear();
        parked("request");
        connection().deliver(
            QString(R"({"type":"decision","decisions":[{"id":"request","decision":"%1"}]})").arg(word));
        EXPECT_THAT(replies, IsEmpty()) << "the decision belongs to a later turn of the main queue";
        settle();
        EXPECT_THAT(replies, ElementsAre(QByteArray(R"({"decision":"%1"})").replace("%1", decision))) << word;
        EXPECT_THAT(shownIds(), IsEmpty());
    }
}

TEST_F(RelayWiring, ADecisionForARequestThatIsGoneWithdrawsItsRow) {
    row("gone");
    connection().deliver(R"({"type":"decision","decisions":[{"id":"gone","decision":"allow"}]})");
    settle();
    EXPECT_THAT(shownIds(), IsEmpty());
    EXPECT_THAT(replies, IsEmpty());
}

TEST_F(RelayWiring, PollsEveryFiveSecondsUntilTheSocketSpeaks) {
    dispatch.advance(4999ms);
    EXPECT_THAT(http.sent, IsEmpty());
    dispatch.advance(1ms);
    ASSERT_EQ(verbs(http.sent), QStringList("poll"));
    parked("request");
    http.sent.at(0).answer(R"({"decisions":[{"id":"request","decision":"allow"}]})");
    settle();
    EXPECT_THAT(replies, ElementsAre(QByteArray(R"({"decision":"allow"})")));
    dispatch.advance(60ms);
    http.sent.clear();

    connection().deliver(R"({"type":"ready"})");
    dispatch.advance(60s);
    EXPECT_THAT(verbs(http.sent), IsEmpty());

    connection().fail();
    dispatch.advance(5s);
    EXPECT_EQ(verbs(http.sent), QStringList("poll"));
}

TEST_F(RelayWiring, ANewTokenReconnectsOnceAndTheSameTextNotAgain) {
    connection().deliver(R"({"type":"ready"})");
    delegate.settings().setRelayToken("other");
    settle();
    dispatch.advance(1s);
    ASSERT_THAT(sockets.connections, SizeIs(2));
    EXPECT_TRUE(sockets.connections.front()->cancelled);
    EXPECT_THAT(connection().request.headers,
                ::testing::Contains(std::pair<QByteArray, QByteArray>("Authorization", "Bearer other")));
    dispatch.advance(60s);
    const auto connections = sockets.connections.size();
    delegate.settings().setRelayToken("other");
    settle();
    dispatch.advance(60s);
    EXPECT_THAT(sockets.connections, SizeIs(connections));
}

TEST_F(RelayWiring, AnyChangeGreetsAgainWithoutReconnecting) {
    connection().sent.clear();
    delegate.settings().setSilentMode(true);
    settle();
    EXPECT_THAT(connection().sent, ElementsAre(relayHello(PhoneTerminal::disabled)));
    delegate.settings().setPhoneTerminalEnabled(true);
    settle();
    EXPECT_THAT(connection().sent,
                ElementsAre(relayHello(PhoneTerminal::disabled), relayHello(PhoneTerminal::enabled)));
    EXPECT_THAT(sockets.connections, SizeIs(1));
}

class RelayWiringWithoutAToken : public RelayWiring {
protected:
    RelayWiringWithoutAToken() : RelayWiring({{"relayURL", "https://relay.test"}, {"relayToken", " \t"}}) {}
};

TEST_F(RelayWiringWithoutAToken, IsGivenOneAndThenConnectsAndPushes) {
    ASSERT_EQ(verbs(http.sent), QStringList("provision"));
    EXPECT_EQ(QJsonDocument::fromJson(http.sent.at(0).request.body).object().value("name").toString(),
              RelayProvisioner::deviceName());
    EXPECT_THAT(sockets.connections, IsEmpty());
    http.sent.at(0).answer(R"({"token":"given"})");
    settle();
    EXPECT_EQ(delegate.settings().relayToken(), "given");
    EXPECT_EQ(verbs(http.sent), QStringList({"provision", "sync"}));
    dispatch.advance(2s);
    ASSERT_FALSE(sockets.connections.empty());
    EXPECT_EQ(sockets.connections.front()->request.url, QUrl("wss://relay.test/ws-mac"));
}

TEST_F(RelayWiringWithoutAToken, ATokenThatWasTypedMeanwhileWins) {
    delegate.settings().setRelayToken("typed");
    http.sent.at(0).answer(R"({"token":"given"})");
    settle();
    EXPECT_EQ(delegate.settings().relayToken(), "typed");
    EXPECT_EQ(verbs(http.sent), QStringList("provision"));
}

TEST_F(RelayWiringWithoutAToken, IsNotAskedForAgainBeforeTheNextStart) {
    http.sent.at(0).fail();
    settle();
    EXPECT_EQ(delegate.settings().relayToken(), " \t");
    delegate.settings().setRelayURL("https://elsewhere.test");
    settle();
    dispatch.advance(600s);
    EXPECT_EQ(verbs(http.sent), QStringList("provision"));
}

TEST_F(RelayWiringWithoutAToken, NothingIsPushed) {
    http.sent.clear();
    row();
    dispatch.advance(60s);
    EXPECT_THAT(verbs(http.sent), IsEmpty());
}

} // namespace
} // namespace pelorin
