#include "tests/app/PartsFixture.h"

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

class RelayLinkTest : public PartsFixture {
protected:
    explicit RelayLinkTest(const QJsonObject& settingsBefore = configured) : PartsFixture(settingsBefore) {}
    void SetUp() override {
        link.start();
        settle();
    }

    FakeConnection& connection() { return *sockets.connections.back(); }
    QJsonArray pushed(int number) const {
        return QJsonDocument::fromJson(http.sent.at(number).request.body).object().value("asks").toArray();
    }
};

TEST_F(RelayLinkTest, ConnectsAtTheStartAndProvisionsNothingWithAToken) {
    ASSERT_THAT(sockets.connections, SizeIs(1));
    EXPECT_EQ(connection().request.url, QUrl("wss://relay.test/ws-mac"));
    EXPECT_THAT(connection().sent, ElementsAre(relayHello(PhoneTerminal::disabled)));
    EXPECT_THAT(http.sent, IsEmpty());
}

TEST_F(RelayLinkTest, PushesTheAsksOnceTheyHaveBeenQuiet) {
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

TEST_F(RelayLinkTest, AnEmptyListIsPushedToo) {
    row();
    store.remove("session");
    dispatch.advance(60ms);
    ASSERT_EQ(verbs(http.sent), QStringList("sync"));
    EXPECT_EQ(pushed(0), QJsonArray());
}

TEST_F(RelayLinkTest, StepsThatChangeNothingDoNotHoldAnAskBack) {
    AskEvent ask = row("one");
    for (int step = 0; step < 5; ++step) {
        dispatch.advance(10ms);
        store.clearNotifications("another session");
        // The same once more is no change, either.
        store.upsert(ask);
    }
    dispatch.advance(10ms);
    ASSERT_EQ(verbs(http.sent), QStringList("sync"));
    EXPECT_EQ(pushed(0).size(), 1);
}

TEST_F(RelayLinkTest, AStepThatChangesNothingIsPushedToo) {
    store.clearNotifications("session");
    dispatch.advance(60ms - 1ns);
    EXPECT_THAT(http.sent, IsEmpty());
    dispatch.advance(1ns);
    EXPECT_EQ(verbs(http.sent), QStringList("sync"));
}

TEST_F(RelayLinkTest, AnAskIsPushedAfterHalfASecondHoweverManyFollow) {
    int rows = 0;
    for (Duration passed{}; passed < 8s; passed += 50ms) {
        row(QString("request %1").arg(rows++));
        dispatch.advance(50ms);
        ASSERT_EQ(verbs(http.sent).count("sync"), rows / 10);
    }
    EXPECT_EQ(pushed(0).size(), 10);
    EXPECT_EQ(pushed(1).size(), 20);
}

TEST_F(RelayLinkTest, AThousandChangesGiveAHandfulOfPushesTheLastOneRight) {
    for (int change = 0; change < 1000; ++change) {
        row(QString("request %1").arg(change));
        dispatch.advance(change % 250 == 249 ? 60ms : 1ms);
    }
    // The relay takes its time: what comes meanwhile is one push with the newest list.
    ASSERT_EQ(http.sent.size(), 4);
    EXPECT_EQ(pushed(3).size(), 1000);
    EXPECT_EQ(pushed(3).last().toObject().value("id"), "request 999");
}

TEST_F(RelayLinkTest, APhonesDecisionIsTheRelaysWordOrADenial) {
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

TEST_F(RelayLinkTest, ADecisionForARequestThatIsGoneWithdrawsItsRow) {
    row("gone");
    connection().deliver(R"({"type":"decision","decisions":[{"id":"gone","decision":"allow"}]})");
    settle();
    EXPECT_THAT(shownIds(), IsEmpty());
    EXPECT_THAT(replies, IsEmpty());
}

TEST_F(RelayLinkTest, PollsEveryFiveSecondsUntilTheSocketSpeaks) {
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

TEST_F(RelayLinkTest, ANewTokenReconnectsOnceAndTheSameTextNotAgain) {
    connection().deliver(R"({"type":"ready"})");
    settings.setRelayToken("other");
    settle();
    dispatch.advance(1s);
    ASSERT_THAT(sockets.connections, SizeIs(2));
    EXPECT_TRUE(sockets.connections.front()->cancelled);
    EXPECT_THAT(connection().request.headers,
                ::testing::Contains(std::pair<QByteArray, QByteArray>("Authorization", "Bearer other")));
    dispatch.advance(60s);
    const auto connections = sockets.connections.size();
    settings.setRelayToken("other");
    settle();
    dispatch.advance(60s);
    EXPECT_THAT(sockets.connections, SizeIs(connections));
}

TEST_F(RelayLinkTest, AnyChangeGreetsAgainWithoutReconnecting) {
    connection().sent.clear();
    settings.setSilentMode(true);
    settle();
    EXPECT_THAT(connection().sent, ElementsAre(relayHello(PhoneTerminal::disabled)));
    settings.setPhoneTerminalEnabled(true);
    settle();
    EXPECT_THAT(connection().sent,
                ElementsAre(relayHello(PhoneTerminal::disabled), relayHello(PhoneTerminal::enabled)));
    EXPECT_THAT(sockets.connections, SizeIs(1));
}

class RelayLinkWithoutAToken : public RelayLinkTest {
protected:
    RelayLinkWithoutAToken() : RelayLinkTest({{"relayURL", "https://relay.test"}, {"relayToken", " \t"}}) {}
};

TEST_F(RelayLinkWithoutAToken, IsGivenOneAndThenConnectsAndPushes) {
    ASSERT_EQ(verbs(http.sent), QStringList("provision"));
    EXPECT_EQ(QJsonDocument::fromJson(http.sent.at(0).request.body).object().value("name").toString(),
              RelayProvisioner::deviceName());
    EXPECT_THAT(sockets.connections, IsEmpty());
    http.sent.at(0).answer(R"({"token":"given"})");
    settle();
    EXPECT_EQ(settings.relayToken(), "given");
    EXPECT_EQ(verbs(http.sent), QStringList({"provision", "sync"}));
    dispatch.advance(2s);
    ASSERT_FALSE(sockets.connections.empty());
    EXPECT_EQ(sockets.connections.front()->request.url, QUrl("wss://relay.test/ws-mac"));
}

TEST_F(RelayLinkWithoutAToken, ATokenThatWasTypedMeanwhileWins) {
    settings.setRelayToken("typed");
    http.sent.at(0).answer(R"({"token":"given"})");
    settle();
    EXPECT_EQ(settings.relayToken(), "typed");
    EXPECT_EQ(verbs(http.sent), QStringList("provision"));
}

TEST_F(RelayLinkWithoutAToken, IsNotAskedForAgainBeforeTheNextStart) {
    http.sent.at(0).fail();
    settle();
    EXPECT_EQ(settings.relayToken(), " \t");
    settings.setRelayURL("https://elsewhere.test");
    settle();
    dispatch.advance(600s);
    EXPECT_EQ(verbs(http.sent), QStringList("provision"));
}

TEST_F(RelayLinkWithoutAToken, NothingIsPushed) {
    http.sent.clear();
    row();
    dispatch.advance(60s);
    EXPECT_THAT(verbs(http.sent), IsEmpty());
}

TEST_F(RelayLinkWithoutAToken, RunsNothingUntilThereIsOne) {
    http.sent.at(0).fail();
    settle();
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    settings.setSilentMode(true);
    settings.setRelayURL("https://elsewhere.test");
    settle();
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    EXPECT_THAT(sockets.connections, IsEmpty());

    settings.setRelayToken("typed");
    settle();
    ASSERT_THAT(sockets.connections, SizeIs(1));
    EXPECT_EQ(connection().request.url, QUrl("wss://elsewhere.test/ws-mac"));
    dispatch.advance(5s);
    EXPECT_EQ(verbs(http.sent), QStringList({"provision", "poll"}));
    EXPECT_THAT(sockets.connections, SizeIs(1));
}

TEST_F(RelayLinkWithoutAToken, GoesOnTryingOnceThereWasOne) {
    settings.setRelayToken("typed");
    settle();
    settings.setRelayToken({});
    settle();
    dispatch.advance(60s);
    EXPECT_TRUE(connection().cancelled);
    ASSERT_THAT(sockets.connections, SizeIs(1));
    settings.setRelayToken("again");
    settle();
    EXPECT_THAT(connection().request.headers,
                ::testing::Contains(std::pair<QByteArray, QByteArray>("Authorization", "Bearer again")));
}

TEST_F(RelayLinkWithoutAToken, RunsNothingOnceThereIsNoneAnyMore) {
    http.sent.at(0).fail();
    for (const char* gone : {"", " \t"}) {
        settings.setRelayToken("typed");
        settle();
        const auto connections = sockets.connections.size();
        EXPECT_NE(dispatch.waitingTasks(), 0U);
        settings.setRelayToken(gone);
        settle();
        EXPECT_EQ(connection().cancelled, SocketCloseCode::goingAway);
        // What was handed in before comes to nothing, and nothing new is.
        dispatch.advance(60s);
        EXPECT_EQ(dispatch.waitingTasks(), 0U);
        EXPECT_THAT(sockets.connections, SizeIs(connections));
        EXPECT_EQ(verbs(http.sent), QStringList("provision"));
    }
    // Nor does a name that never names a machine keep anything going.
    settings.setRelayToken("typed");
    settle();
    settings.setRelayURL("https://relay.invalid");
    settle();
    dispatch.advance(60s);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

/// As the program stands before anything is set.
class RelayLinkAsBuilt : public RelayLinkTest {
protected:
    explicit RelayLinkAsBuilt(const QJsonObject& settingsBefore = {}) : RelayLinkTest(settingsBefore) {}
};

TEST_F(RelayLinkAsBuilt, AsksNobodyAndRunsNothing) {
    row();
    settings.setSilentMode(true);
    settle();
    dispatch.advance(600s);
    EXPECT_THAT(http.sent, IsEmpty());
    EXPECT_THAT(sockets.connections, IsEmpty());
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

TEST_F(RelayLinkAsBuilt, ConnectsWhenARelayIsSet) {
    settings.setRelayToken("secret");
    row();
    settle();
    dispatch.advance(60s);
    EXPECT_THAT(http.sent, IsEmpty());
    EXPECT_THAT(sockets.connections, IsEmpty());
    settings.setRelayURL("https://relay.test");
    settle();
    ASSERT_THAT(sockets.connections, SizeIs(1));
    EXPECT_EQ(connection().request.url, QUrl("wss://relay.test/ws-mac"));
    EXPECT_EQ(connection().sent.first(), relayHello(PhoneTerminal::disabled));
}

} // namespace
} // namespace pelorin
