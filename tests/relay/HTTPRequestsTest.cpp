#include "tests/relay/NetworkFixture.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Method = HTTPRequest::Method;
using Kind = TestRelayAnswer::Kind;

// Requests as the real transport makes them, to a relay over real sockets.
class HTTPRequestsTest : public NetworkFixture {
protected:
    HTTPRequest get(const QByteArray& path) const {
        return {.url = QUrl(relay.url() + path), .headers = {{"Authorization", "Bearer tok"}}, .timeout = 20s};
    }
    HTTPRequest post(const QByteArray& path, const QByteArray& body) const {
        HTTPRequest request = get(path);
        request.method = Method::post;
        request.headers.append({{"Content-Type", "application/json"}});
        request.body = body;
        return request;
    }

    /// Sends the request and waits for its end.
    std::optional<HTTPReply> outcome(const HTTPRequest& request) {
        const qsizetype before = replies.count();
        transport->send(request, replies.note());
        EXPECT_TRUE(eventually([&] { return replies.count() > before; }));
        return replies[static_cast<std::size_t>(before)];
    }

    Replies replies;
    std::optional<NetworkTransport> transport{std::in_place};
};

TEST_F(HTTPRequestsTest, ArriveToTheLetter) {
    ASSERT_TRUE(relay.start());
    EXPECT_EQ(outcome(post("/sync?x=1", R"({"asks":[]})")), (HTTPReply{200, "{}"}));
    ASSERT_EQ(relay.requests().size(), 1);
    const TestRelayRequest& seen = relay.requests().first();
    EXPECT_EQ(seen.method, "POST");
    EXPECT_EQ(seen.target, "/sync?x=1");
    EXPECT_EQ(seen.header("Authorization"), "Bearer tok");
    EXPECT_EQ(seen.header("Content-Type"), "application/json");
    EXPECT_EQ(seen.body, R"({"asks":[]})");
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, R"({"decisions":[]})"}));
    EXPECT_EQ(relay.requests().last().method, "GET");
    EXPECT_EQ(relay.requests().last().target, "/poll");
    EXPECT_EQ(relay.requests().last().body, "");
    EXPECT_EQ(relay.requests().last().header("Content-Type"), "");
    EXPECT_EQ(relay.requests().last().header("User-Agent"), "Pelorin");
}

TEST_F(HTTPRequestsTest, NeedNobodyWhoListens) {
    ASSERT_TRUE(relay.start());
    transport->send(post("/sync", R"({"asks":[{"id":"r1"}]})"));
    EXPECT_TRUE(eventually([&] { return relay.asks("tok").size() == 1; }));
}

TEST_F(HTTPRequestsTest, GiveTheReplyWhateverItsStatus) {
    ASSERT_TRUE(relay.start());
    for (const int status : {200, 201, 203, 400, 401, 403, 404, 405, 409, 410, 418, 429, 500, 501, 502, 503, 599}) {
        relay.answer("/poll", TestRelayAnswer::status(status, "{}"));
        EXPECT_EQ(outcome(get("/poll")), (HTTPReply{status, "{}"})) << status;
    }
    relay.answer("/poll", TestRelayAnswer{Kind::bytes, "HTTP/1.1 204 No Content\r\n\r\n"});
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{204, ""}));
}

TEST_F(HTTPRequestsTest, GiveNothingWithoutAWholeReply) {
    ASSERT_TRUE(relay.start());
    const std::pair<const char*, TestRelayAnswer> rows[] = {
        {"closed", {Kind::close, {}}},
        {"reset", {Kind::reset, {}}},
        {"junk", {Kind::bytesAndClose, "\x16\x03\x01 nonsense\r\n\r\n"}},
        {"half a head", {Kind::bytesAndClose, "HTTP/1.1 200 OK\r\nContent-Le"}},
        {"half a body", {Kind::bytesAndClose, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"decisions\":"}},
        {"half a body of an error",
         {Kind::bytesAndClose, "HTTP/1.1 500 No\r\nContent-Length: 100\r\n\r\n{\"decisions\":"}},
    };
    for (const auto& [name, answer] : rows) {
        relay.answer("/poll", answer);
        EXPECT_EQ(outcome(get("/poll")), std::nullopt) << name;
    }
    relay.answer("/poll", std::nullopt);
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, R"({"decisions":[]})"})) << "None of it lasts.";
}

TEST_F(HTTPRequestsTest, GiveUpWhenTheTimeIsUp) {
    ASSERT_TRUE(relay.start());
    HTTPRequest request = get("/poll");
    request.timeout = 50ms;
    relay.answer("/poll", TestRelayAnswer{Kind::silence, {}});
    EXPECT_EQ(outcome(request), std::nullopt);
    // The whole exchange counts, not the time since the last byte.
    relay.answer("/poll", TestRelayAnswer{Kind::bytes, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{"});
    EXPECT_EQ(outcome(request), std::nullopt);
}

TEST_F(HTTPRequestsTest, GiveUpOnARelayThatAcceptsAndSaysNothing) {
    relay.setIsMute(true);
    ASSERT_TRUE(relay.start());
    HTTPRequest request = get("/poll");
    request.timeout = 50ms;
    EXPECT_EQ(outcome(request), std::nullopt);
    EXPECT_EQ(relay.connections(), 1);
    relay.setIsMute(false);
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, R"({"decisions":[]})"}))
        << "The dead connection is not used again.";
}

TEST_F(HTTPRequestsTest, WaitForASlowAnswer) {
    ASSERT_TRUE(relay.start());
    relay.answer("/poll", TestRelayAnswer{Kind::held, {}});
    transport->send(get("/poll"), replies.note());
    ASSERT_TRUE(eventually([&] { return relay.requests().size() == 1; }));
    EXPECT_EQ(replies.count(), 0);
    relay.release();
    ASSERT_TRUE(eventually([&] { return replies.count() == 1; }));
    EXPECT_EQ(replies[0], (HTTPReply{200, R"({"decisions":[]})"}));
}

TEST_F(HTTPRequestsTest, FindTheRelayAgainWhenItComesBack) {
    ASSERT_TRUE(relay.start());
    EXPECT_TRUE(outcome(get("/poll")));
    relay.goAway();
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    ASSERT_TRUE(relay.start());
    EXPECT_TRUE(outcome(get("/poll")));
}

TEST_F(HTTPRequestsTest, TakeRepliesOfBoundedLengthOnly) {
    transport.emplace(NetworkTransport::Limits{.reply = 10'000});
    ASSERT_TRUE(relay.start());
    relay.answer("/poll", TestRelayAnswer::status(200, QByteArray(10'000, 'x')));
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, QByteArray(10'000, 'x')}));
    relay.answer("/poll", TestRelayAnswer::status(200, QByteArray(10'001, 'x')));
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    // However long it might become, no more of it is waited for.
    relay.answer("/poll", TestRelayAnswer{Kind::bytes, "HTTP/1.1 200 OK\r\n\r\n" + QByteArray(1'000'000, 'x')});
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_EQ(NetworkTransport::Limits().reply, 1'048'576);
}

TEST_F(HTTPRequestsTest, CarryALongPush) {
    ASSERT_TRUE(relay.start());
    QJsonArray asks;
    for (int number = 0; number < 20'000; ++number)
        asks.append(QJsonObject{{"id", QString::number(number)}, {"message", QString(200, 'x')}});
    EXPECT_TRUE(outcome(post("/sync", QJsonDocument(QJsonObject{{"asks", asks}}).toJson(QJsonDocument::Compact))));
    EXPECT_EQ(relay.asks("tok"), asks);
}

TEST_F(HTTPRequestsTest, GoNowhereWithAHeaderThatWouldStartAnother) {
    ASSERT_TRUE(relay.start());
    for (const QByteArray& token : {QByteArray("a\r\nX-Other: 1"), QByteArray("a\nb"), QByteArray("a\rb"),
                                    QByteArray("a\0b", 3), QByteArray("tok\n")}) {
        HTTPRequest request = get("/poll");
        request.headers = {{"Authorization", "Bearer " + token}};
        EXPECT_EQ(outcome(request), std::nullopt);
    }
    EXPECT_TRUE(outcome(get("/poll")));
    EXPECT_EQ(relay.requests().size(), 1);
}

TEST_F(HTTPRequestsTest, GoToHttpAndHttpsAlone) {
    QFile file(folder.filePath("secret"));
    ASSERT_TRUE(file.open(QFile::WriteOnly) && file.write("{}") == 2);
    file.close();
    for (const QUrl& url : {QUrl::fromLocalFile(file.fileName()), QUrl("data:application/json,{}"),
                            QUrl("ftp://127.0.0.1/"), QUrl("qrc:/x"), QUrl("/poll"), QUrl("http:///poll"), QUrl()}) {
        HTTPRequest request = get("");
        request.url = url;
        EXPECT_EQ(outcome(request), std::nullopt) << url.toString().toStdString();
    }
}

TEST_F(HTTPRequestsTest, FollowARedirectWithinTheOrigin) {
    ASSERT_TRUE(relay.start());
    const std::tuple<int, const char*, const char*> rows[] = {{301, "GET", ""},
                                                              {302, "GET", ""},
                                                              {303, "GET", ""},
                                                              {307, "POST", R"({"asks":[1]})"},
                                                              {308, "POST", R"({"asks":[1]})"}};
    relay.answer("/new", TestRelayAnswer::status(200, "arrived"));
    for (const auto& [status, method, body] : rows) {
        for (const QByteArray& location : {QByteArray("/new"), QByteArray("new?x=1"), relay.url().toUtf8() + "/new"}) {
            const qsizetype before = relay.requests().size();
            relay.answer("/sync", TestRelayAnswer::status(status, {}, {{"Location", location}}));
            EXPECT_EQ(outcome(post("/sync", R"({"asks":[1]})")), (HTTPReply{200, "arrived"})) << status;
            ASSERT_EQ(relay.requests().size(), before + 2);
            EXPECT_EQ(relay.requests().last().method, method) << status;
            EXPECT_EQ(relay.requests().last().body, body) << status;
            EXPECT_EQ(relay.requests().last().header("Authorization"), "Bearer tok");
        }
    }
}

TEST_F(HTTPRequestsTest, NeverFollowARedirectToAnotherOrigin) {
    ASSERT_TRUE(relay.start());
    TestRelay other;
    other.addToken("tok");
    ASSERT_TRUE(other.start());
    const QString sameHostOtherName = QString(other.url()).replace("127.0.0.1", "localhost");
    for (const int status : {301, 302, 303, 307, 308}) {
        for (const QString& target : {other.url() + "/poll", sameHostOtherName + "/poll",
                                      QString(relay.url()).replace("http:", "https:") + "/poll"}) {
            const QByteArray location = target.toUtf8();
            relay.answer("/poll", TestRelayAnswer::status(status, R"({"decisions":[]})", {{"Location", location}}));
            EXPECT_EQ(outcome(get("/poll")), std::nullopt) << status << " " << location.toStdString();
            relay.answer("/sync", TestRelayAnswer::status(status, {}, {{"Location", location}}));
            EXPECT_EQ(outcome(post("/sync", "secret")), std::nullopt) << status << " " << location.toStdString();
        }
    }
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(HTTPRequestsTest, EndARedirectThatGoesRound) {
    ASSERT_TRUE(relay.start());
    relay.answer("/poll", TestRelayAnswer::status(302, {}, {{"Location", "/poll"}}));
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_EQ(relay.requests().size(), 6);
}

TEST_F(HTTPRequestsTest, OfOneQueueArriveInOrderAndOnlyTheNewestWaits) {
    ASSERT_TRUE(relay.start());
    relay.answer("/sync", TestRelayAnswer{Kind::held, {}});
    HTTPRequest push = post("/sync", R"({"asks":[1]})");
    push.queue = "queue";
    transport->send(push, replies.note("first"));
    ASSERT_TRUE(eventually([&] { return relay.requests().size() == 1; }));
    for (const QByteArray name : {"second", "third", "fourth"}) {
        push.body = R"({"asks":[")" + name + R"("]})";
        transport->send(push, replies.note(name));
    }
    ASSERT_TRUE(eventually([&] { return replies.count() == 2; }));
    // Another queue and no queue at all wait for nothing.
    HTTPRequest other = get("/poll");
    EXPECT_TRUE(outcome(other));
    other.queue = "other";
    EXPECT_TRUE(outcome(other));
    EXPECT_EQ(relay.requests("/sync").size(), 1);
    relay.answer("/sync", std::nullopt);
    relay.release();
    ASSERT_TRUE(eventually([&] { return replies.count() == 6; }));
    EXPECT_EQ(relay.requests("/sync").size(), 2);
    EXPECT_EQ(relay.asks("tok"), QJsonArray{"fourth"});
    EXPECT_THAT(replies.names(), ElementsAre("second", "third", "", "", "first", "fourth"));
    EXPECT_EQ(replies[0], std::nullopt) << "It was replaced.";
    EXPECT_TRUE(replies[4]);
    EXPECT_TRUE(replies[5]);
}

TEST_F(HTTPRequestsTest, OfOneQueueDoNotWaitForEver) {
    transport.emplace(NetworkTransport::Limits{.lanePatience = 20ms});
    ASSERT_TRUE(relay.start());
    relay.answer("/sync", TestRelayAnswer{Kind::silence, {}});
    HTTPRequest push = post("/sync", R"({"asks":[1]})");
    push.queue = "queue";
    transport->send(push, replies.note("stuck"));
    ASSERT_TRUE(eventually([&] { return relay.requests().size() == 1; }));
    // The patience is out before anybody waits: who comes then takes its place at once.
    bool isOut = false;
    QTimer::singleShot(100, [&] { isOut = true; });
    ASSERT_TRUE(eventually([&] { return isOut; }));
    EXPECT_EQ(replies.count(), 0) << "As long as nobody waits it has all its time.";
    transport->send(push, replies.note("stuck too"));
    ASSERT_TRUE(eventually([&] { return relay.requests().size() == 2; }));
    EXPECT_THAT(replies.names(), ElementsAre("stuck"));
    relay.answer("/sync", std::nullopt);
    push.body = R"({"asks":[2]})";
    transport->send(push, replies.note("through"));
    ASSERT_TRUE(eventually([&] { return replies.count() == 3; }));
    EXPECT_THAT(replies.names(), ElementsAre("stuck", "stuck too", "through"));
    EXPECT_EQ(relay.asks("tok"), QJsonArray{2});
    EXPECT_EQ(NetworkTransport::Limits().lanePatience, 2s);
}

TEST_F(HTTPRequestsTest, EndWithTheTransport) {
    ASSERT_TRUE(relay.start());
    relay.answer("/sync", TestRelayAnswer{Kind::silence, {}});
    HTTPRequest push = post("/sync", "{}");
    push.queue = "queue";
    transport->send(push, replies.note("under way"));
    transport->send(push, replies.note("waiting"));
    ASSERT_TRUE(eventually([&] { return relay.requests().size() == 1; }));
    transport.reset();
    EXPECT_THAT(replies.names(), ElementsAre("under way", "waiting"));
    EXPECT_EQ(replies[0], std::nullopt);
    EXPECT_EQ(replies[1], std::nullopt);
}

TEST_F(HTTPRequestsTest, GoOverTlsToARelayThatCanBeTrusted) {
    useTls();
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, R"({"decisions":[]})"}));
    EXPECT_TRUE(outcome(post("/sync", R"({"asks":[1]})")));
    EXPECT_EQ(relay.asks("tok"), QJsonArray{1});
}

TEST_F(HTTPRequestsTest, TellNothingToARelayThatCannotBeTrusted) {
    const LogCapture log("pelorin.relay");
    useTls();
    ASSERT_TRUE(relay.start());
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_THAT(relay.requests(), IsEmpty());
    EXPECT_TRUE(log.contains("The certificate of")) << "A user can find out why.";
}

TEST_F(HTTPRequestsTest, TellNothingToARelayWithACertificateForAnotherName) {
    useTls(TestCertificates::Server::anotherName);
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_THAT(relay.requests(), IsEmpty());
}

TEST_F(HTTPRequestsTest, TellNothingToARelayWithAnExpiredCertificate) {
    useTls(TestCertificates::Server::expired);
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_THAT(relay.requests(), IsEmpty());
}

TEST_F(HTTPRequestsTest, TrustTheAuthorityThatTheEnvironmentNames) {
    const LogCapture log("pelorin.relay");
    useTls();
    ASSERT_TRUE(relay.start());
    {
        const NamedAuthority missing(folder.filePath("missing.pem"));
        EXPECT_EQ(outcome(get("/poll")), std::nullopt);
        EXPECT_TRUE(log.contains("SSL_CERT_FILE"));
    }
    const NamedAuthority named(certificates->authority);
    transport.emplace();
    EXPECT_EQ(outcome(get("/poll")), (HTTPReply{200, R"({"decisions":[]})"}));
}

TEST_F(HTTPRequestsTest, AreLoggedWithoutWhatIsSecret) {
    const LogCapture log("pelorin.relay");
    ASSERT_TRUE(relay.start());
    HTTPRequest request = get("/t0ken/poll?t=t0ken");
    request.url.setUserInfo("ann:t0ken");
    request.headers = {{"Authorization", "Bearer t0ken"}};
    for (const TestRelayAnswer& answer :
         {TestRelayAnswer::status(500, "t0ken"), TestRelayAnswer{Kind::close, {}}, TestRelayAnswer{Kind::silence, {}},
          TestRelayAnswer::status(302, {}, {{"Location", "http://other.test/t0ken?t=t0ken"}})}) {
        relay.answer("/t0ken/poll", answer);
        request.timeout = 200ms;
        outcome(request);
    }
    request.headers = {{"Authorization", "Bearer t0ken\n"}};
    outcome(request);
    EXPECT_GE(log.messages().size(), 4) << "Every failure leaves a line.";
    EXPECT_FALSE(log.contains("t0ken")) << log.messages().join('\n').toStdString();
}

TEST_F(HTTPRequestsTest, AreNotLoggedUnlessAUserWantsIt) {
    const LogCapture log("pelorin.other");
    ASSERT_TRUE(relay.start());
    relay.answer("/poll", TestRelayAnswer{Kind::close, {}});
    EXPECT_EQ(outcome(get("/poll")), std::nullopt);
    EXPECT_THAT(log.messages(), IsEmpty());
}

#if defined(Q_OS_LINUX)
TEST(NetworkThread, IsMadeByTheFirstUse) {
    const auto threads = [] {
        int count = 0;
        const QDir tasks("/proc/self/task");
        for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile name(tasks.filePath(task + "/comm"));
            count += name.open(QIODevice::ReadOnly) && name.readAll() == "pelorin.network\n";
        }
        return count;
    };
    NetworkTransport transport;
    EXPECT_EQ(threads(), 0);
    const auto task = transport.makeTask({.url = QUrl("ws://127.0.0.1:9/ws-mac"), .headers = {}, .timeout = 1s});
    EXPECT_EQ(threads(), 1);
}
#endif

} // namespace
} // namespace pelorin
