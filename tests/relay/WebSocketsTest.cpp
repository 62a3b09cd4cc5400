#include "tests/relay/NetworkFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Processes.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = TestRelayAnswer::Kind;

SocketMessage text(const QByteArray& payload) {
    return {SocketMessage::Kind::text, payload};
}

/// Asks a connection for messages, one after the other, and keeps them.
class Reader {
public:
    /// Asks again and again until the connection fails.
    void follow(const std::shared_ptr<SocketTask>& task) {
        task->receive([this, weak = std::weak_ptr(task)](const std::optional<SocketMessage>& message) {
            note(message);
            const auto again = weak.lock();
            if (message && again)
                follow(again);
        });
    }
    /// Asks once.
    void ask(const std::shared_ptr<SocketTask>& task) {
        task->receive([this](const std::optional<SocketMessage>& message) { note(message); });
    }

    QList<SocketMessage> messages() const { return m_seen.copy().messages; }
    int failures() const { return m_seen.copy().failures; }
    bool hasFailed() const { return failures() > 0; }

private:
    struct Seen {
        QList<SocketMessage> messages;
        int failures = 0;
    };

    void note(const std::optional<SocketMessage>& message) {
        m_seen.with([&](Seen& seen) {
            if (message)
                seen.messages.append(*message);
            else
                ++seen.failures;
        });
    }

    Guarded<Seen> m_seen;
};

// WebSockets as the real transport makes them, to a relay over real sockets.
class WebSocketsTest : public NetworkFixture {
protected:
    SocketRequest request() const {
        return {.url = QUrl(QString(relay.url()).replace(0, 4, "ws") + "/ws-mac"),
                .headers = {{"Authorization", "Bearer tok"}},
                .timeout = 20s};
    }

    std::shared_ptr<SocketTask> open() {
        auto resumed = transport->makeTask(request());
        resumed->resume();
        return resumed;
    }

    /// An open connection, as the relay sees it; null when none came about.
    TestRelaySocket* opened() {
        const qsizetype before = relay.sockets().size();
        task = open();
        reader.follow(task);
        EXPECT_TRUE(eventually([&] { return relay.sockets().size() > before; }));
        return relay.sockets().size() > before ? relay.sockets().last() : nullptr;
    }

    /// Waits for what the relay does next to end the connection.
    bool fails() {
        return eventually([&] { return reader.hasFailed(); });
    }

    Reader reader;
    std::optional<NetworkTransport> transport{std::in_place};
    std::shared_ptr<SocketTask> task;
};

TEST_F(WebSocketsTest, AuthoriseInTheHeaderAndNotInTheAddress) {
    ASSERT_TRUE(relay.start());
    ASSERT_TRUE(opened());
    ASSERT_EQ(relay.requests().size(), 1);
    EXPECT_EQ(relay.requests()[0].method, "GET");
    EXPECT_EQ(relay.requests()[0].target, "/ws-mac");
    EXPECT_EQ(relay.requests()[0].header("Authorization"), "Bearer tok");
    EXPECT_EQ(relay.requests()[0].header("Upgrade").toLower(), "websocket");
}

TEST_F(WebSocketsTest, DoNothingUntilTheyAreResumed) {
    ASSERT_TRUE(relay.start());
    const auto first = transport->makeTask(request());
    const auto second = open();
    ASSERT_TRUE(eventually([&] { return relay.sockets().size() == 1; }));
    EXPECT_EQ(relay.connections(), 1);
    first->resume();
    EXPECT_TRUE(eventually([&] { return relay.sockets().size() == 2; }));
}

TEST_F(WebSocketsTest, CarryTextBothWaysInOrder) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    for (int number = 0; number < 100; ++number) {
        task->send(QString("from %1 \u00e4\u6708").arg(number));
        socket->sendText(QString("to %1 \u00e4\u6708").arg(number));
    }
    ASSERT_TRUE(eventually([&] { return socket->texts().size() == 100 && reader.messages().size() == 100; }));
    for (int number = 0; number < 100; ++number) {
        EXPECT_EQ(socket->texts()[number], QString("from %1 \u00e4\u6708").arg(number));
        EXPECT_EQ(reader.messages()[number], text(QString("to %1 \u00e4\u6708").arg(number).toUtf8()));
    }
}

TEST_F(WebSocketsTest, SendWhatWasSaidBeforeTheyWereOpen) {
    ASSERT_TRUE(relay.start());
    task = transport->makeTask(request());
    task->send("first");
    task->resume();
    task->send("second");
    ASSERT_TRUE(eventually([&] { return relay.openSocket() && relay.openSocket()->texts().size() == 2; }));
    EXPECT_THAT(relay.openSocket()->texts(), ElementsAre("first", "second"));
}

TEST_F(WebSocketsTest, GiveEachAskerOneMessage) {
    ASSERT_TRUE(relay.start());
    task = open();
    Reader first;
    Reader second;
    first.ask(task);
    second.ask(task);
    ASSERT_TRUE(eventually([&] { return relay.openSocket(); }));
    for (const char* one : {"a", "b", "c"})
        relay.openSocket()->sendText(one);
    ASSERT_TRUE(eventually([&] { return !first.messages().isEmpty() && !second.messages().isEmpty(); }));
    EXPECT_THAT(first.messages(), ElementsAre(text("a")));
    EXPECT_THAT(second.messages(), ElementsAre(text("b")));
    Reader third;
    third.ask(task);
    ASSERT_TRUE(eventually([&] { return !third.messages().isEmpty(); }));
    EXPECT_THAT(third.messages(), ElementsAre(text("c"))) << "It was kept.";
}

TEST_F(WebSocketsTest, TakeABurstWhole) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    // Twice what may wait unasked.
    const QByteArray kilobyte(1000, 'x');
    for (int number = 0; number < 2200; ++number)
        socket->sendFrame(0x1, kilobyte);
    ASSERT_TRUE(eventually([&] { return reader.messages().size() == 2200 || reader.hasFailed(); }));
    EXPECT_FALSE(reader.hasFailed());
}

TEST_F(WebSocketsTest, TakeMessagesUpToTheBound) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    EXPECT_EQ(NetworkTransport::Limits().message, 1'048'576);
    const qsizetype sizes[] = {0, 125, 126, 65'535, 65'536, 1'048'576};
    for (const qsizetype size : sizes)
        socket->sendFrame(0x1, QByteArray(size, 'y'));
    ASSERT_TRUE(eventually([&] { return reader.messages().size() == std::ssize(sizes) || reader.hasFailed(); }));
    ASSERT_FALSE(reader.hasFailed());
    for (qsizetype number = 0; number < std::ssize(sizes); ++number)
        EXPECT_EQ(reader.messages()[number].payload.size(), sizes[number]);
}

TEST_F(WebSocketsTest, EndAtAMessageBeyondTheBound) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendFrame(0x1, QByteArray(1'048'577, 'y'));
    EXPECT_TRUE(fails());
    EXPECT_THAT(reader.messages(), IsEmpty());
}

TEST_F(WebSocketsTest, EndAtPiecesThatAddUpToMoreThanTheBound) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendFrame(0x1, QByteArray(600'000, 'y'), false);
    socket->sendFrame(0x0, QByteArray(600'000, 'y'), true);
    EXPECT_TRUE(fails());
    EXPECT_THAT(reader.messages(), IsEmpty());
}

TEST_F(WebSocketsTest, AssembleAMessageFromItsPieces) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendFrame(0x1, "a\xc3\xa4", false);
    socket->sendFrame(0x9, "a ping in between");
    socket->sendFrame(0x0, "", false);
    socket->sendFrame(0x0, "\xe6\x9c\x88", true);
    ASSERT_TRUE(eventually([&] { return reader.messages().size() == 1; }));
    EXPECT_EQ(reader.messages()[0], text("a\xc3\xa4\xe6\x9c\x88"));
}

TEST_F(WebSocketsTest, SendAMessageAsOneFrame) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    task->send(QString(1'000'000, 'x'));
    ASSERT_TRUE(eventually([&] { return !socket->texts().isEmpty(); }));
    EXPECT_EQ(socket->texts()[0].size(), 1'000'000);
    EXPECT_EQ(socket->frames(), 1);
}

TEST_F(WebSocketsTest, TellBinaryFromText) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendFrame(0x2, QByteArray("\x00\xff", 2));
    ASSERT_TRUE(eventually([&] { return reader.messages().size() == 1; }));
    EXPECT_EQ(reader.messages()[0], (SocketMessage{SocketMessage::Kind::binary, QByteArray("\x00\xff", 2)}));
}

TEST_F(WebSocketsTest, FailWhenNobodyListens) {
    ASSERT_TRUE(relay.start());
    relay.goAway();
    task = open();
    reader.follow(task);
    EXPECT_TRUE(fails());
}

TEST_F(WebSocketsTest, FailWhenTheHandshakeIsRefused) {
    ASSERT_TRUE(relay.start());
    const std::pair<const char*, TestRelayAnswer> rows[] = {
        {"unknown token", TestRelayAnswer::status(401)},
        {"server error", TestRelayAnswer::status(500, "oops")},
        {"closed", {Kind::close, {}}},
        {"reset", {Kind::reset, {}}},
        {"junk", {Kind::bytesAndClose, "\x16\x03\x01 nonsense\r\n\r\n"}},
        {"no upgrade", TestRelayAnswer::status(200, "{}")},
        {"wrong key",
         {Kind::bytes, "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                       "Sec-WebSocket-Accept: nonsense\r\n\r\n"}},
    };
    for (const auto& [name, answer] : rows) {
        relay.answer("/ws-mac", answer);
        Reader ofThis;
        const auto failing = open();
        ofThis.follow(failing);
        EXPECT_TRUE(eventually([&] { return ofThis.hasFailed(); })) << name;
        EXPECT_THAT(ofThis.messages(), IsEmpty()) << name;
    }
}

TEST_F(WebSocketsTest, NeverFollowARedirect) {
    ASSERT_TRUE(relay.start());
    TestRelay other;
    other.addToken("tok");
    ASSERT_TRUE(other.start());
    relay.answer("/ws-mac", TestRelayAnswer::status(307, {}, {{"Location", other.url().toUtf8() + "/ws-mac"}}));
    task = open();
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(WebSocketsTest, FailWhenTheHandshakeTakesTooLong) {
    ASSERT_TRUE(relay.start());
    SocketRequest impatient = request();
    impatient.timeout = 50ms;
    relay.answer("/ws-mac", TestRelayAnswer{Kind::silence, {}});
    task = transport->makeTask(impatient);
    task->resume();
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_EQ(relay.requests().size(), 1);

    relay.answer("/ws-mac", TestRelayAnswer{Kind::bytes, QByteArray(10'000'000, 'x')});
    Reader ofJunk;
    const auto junk = transport->makeTask(impatient);
    junk->resume();
    ofJunk.follow(junk);
    EXPECT_TRUE(eventually([&] { return ofJunk.hasFailed(); }));

    relay.setIsMute(true);
    Reader ofMute;
    const auto mute = transport->makeTask(impatient);
    mute->resume();
    ofMute.follow(mute);
    EXPECT_TRUE(eventually([&] { return ofMute.hasFailed(); }));
    EXPECT_EQ(relay.connections(), 3);
}

TEST_F(WebSocketsTest, StayOpenBeyondTheTimeForTheHandshake) {
    ASSERT_TRUE(relay.start());
    SocketRequest impatient = request();
    impatient.timeout = 200ms;
    task = transport->makeTask(impatient);
    task->resume();
    reader.follow(task);
    ASSERT_TRUE(eventually([&] { return relay.openSocket(); }));
    bool isLater = false;
    QTimer::singleShot(400, [&] { isLater = true; });
    ASSERT_TRUE(eventually([&] { return isLater; }));
    EXPECT_FALSE(reader.hasFailed());
    relay.openSocket()->sendText("still here");
    EXPECT_TRUE(eventually([&] { return reader.messages().size() == 1; }));
}

TEST_F(WebSocketsTest, FailWhenTheRelayEndsThem) {
    ASSERT_TRUE(relay.start());
    const std::pair<const char*, std::function<void(TestRelaySocket&)>> rows[] = {
        {"close",
         [](TestRelaySocket& socket) {
             socket.close(1000);
         }},
        {"drop",
         [](TestRelaySocket& socket) {
             socket.drop();
         }},
        {"reset",
         [](TestRelaySocket& socket) {
             socket.reset();
         }},
        {"half a frame",
         [](TestRelaySocket& socket) {
             socket.sendBytes(QByteArray("\x81\x7e\x01", 3));
             socket.drop();
         }},
        {"unknown opcode",
         [](TestRelaySocket& socket) {
             socket.sendFrame(0x3, "x");
         }},
        {"reserved bits",
         [](TestRelaySocket& socket) {
             socket.sendBytes(QByteArray("\xf1\x01x", 3));
         }},
        {"no text",
         [](TestRelaySocket& socket) {
             socket.sendFrame(0x1, "\xff\xfe");
         }},
        {"a rest without a beginning",
         [](TestRelaySocket& socket) {
             socket.sendFrame(0x0, "x");
         }},
        {"an endless frame",
         [](TestRelaySocket& socket) {
             socket.sendBytes(QByteArray("\x81\x7f\x7f\xff\xff\xff\xff\xff\xff\xff", 10));
         }},
        {"going away",
         [this](TestRelaySocket&) {
             relay.goAway();
         }},
    };
    for (const auto& [name, end] : rows) {
        Reader ofThis;
        const qsizetype before = relay.sockets().size();
        const auto failing = open();
        ofThis.follow(failing);
        ASSERT_TRUE(eventually([&] { return relay.sockets().size() > before; })) << name;
        end(*relay.sockets().last());
        EXPECT_TRUE(eventually([&] { return ofThis.hasFailed(); })) << name;
        EXPECT_THAT(ofThis.messages(), IsEmpty()) << name;
        EXPECT_EQ(ofThis.failures(), 1) << name;
    }
}

TEST_F(WebSocketsTest, KeepFailingOnceTheyHaveFailed) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->drop();
    ASSERT_TRUE(fails());
    task->send("lost");
    task->cancel(SocketCloseCode::goingAway);
    task->resume();
    Reader late;
    late.ask(task);
    late.ask(task);
    EXPECT_TRUE(eventually([&] { return late.failures() == 2; }));
    EXPECT_EQ(relay.connections(), 1);
}

TEST_F(WebSocketsTest, CloseAsGoingAwayWithoutAReason) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendText("open");
    ASSERT_TRUE(eventually([&] { return !reader.messages().isEmpty(); }));
    task->cancel(SocketCloseCode::goingAway);
    task.reset();
    EXPECT_TRUE(fails()) << "Who waits is told, also when the task is gone at once.";
    ASSERT_TRUE(eventually([&] { return !socket->isOpen(); }));
    EXPECT_EQ(socket->closePayload(), QByteArray("\x03\xe9"));
}

TEST_F(WebSocketsTest, CloseQuietlyWithTheirTask) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->sendText("open");
    ASSERT_TRUE(eventually([&] { return !reader.messages().isEmpty(); }));
    task->send("last words");
    task.reset();
    ASSERT_TRUE(eventually([&] { return !socket->isOpen(); }));
    EXPECT_THAT(socket->texts(), ElementsAre("last words"));
    EXPECT_EQ(socket->closePayload(), QByteArray("\x03\xe9"));
    transport.reset();
    EXPECT_FALSE(reader.hasFailed());
}

TEST_F(WebSocketsTest, EndQuietlyWithTheTransport) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    transport.reset();
    EXPECT_TRUE(eventually([&] { return !socket->isOpen(); }));
    EXPECT_FALSE(reader.hasFailed());
    // What is left of it does nothing.
    task->send("lost");
    reader.ask(task);
    task->cancel(SocketCloseCode::goingAway);
    task.reset();
    EXPECT_FALSE(reader.hasFailed());
}

TEST_F(WebSocketsTest, EndWhenTooMuchComesUnasked) {
    ASSERT_TRUE(relay.start());
    task = open();
    ASSERT_TRUE(eventually([&] { return relay.openSocket(); }));
    auto* const socket = relay.openSocket();
    for (int number = 0; number < 11; ++number)
        socket->sendFrame(0x1, QByteArray(100'000, 'x'));
    EXPECT_TRUE(eventually([&] { return !socket->isOpen(); }));
}

TEST_F(WebSocketsTest, DropWhatARelayThatReadsNothingDoesNotTake) {
    const LogCapture log("pelorin.relay");
    transport.emplace(NetworkTransport::Limits{.backlog = 100'000});
    EXPECT_EQ(NetworkTransport::Limits().backlog, 8'388'608);
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->stopReading();
    // Far more than the system itself keeps for a connection.
    const QString message(50'000, 'x');
    for (int number = 0; number < 2000; ++number)
        task->send(message);
    EXPECT_TRUE(eventually([&] { return LogCapture::contains("Dropped a message"); }));
    EXPECT_FALSE(reader.hasFailed());
    transport.reset();
}

TEST_F(WebSocketsTest, KeepWhatIsSentInTurnUntilItIsTaken) {
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->stopReading();
    // Far more than the system itself keeps for a connection, and than may wait of what is not sent in turn.
    constexpr int messages = 500;
    std::atomic<int> taken = 0;
    for (int number = 0; number < messages; ++number)
        task->sendInTurn(QString::number(number).leftJustified(20'000, QChar('x')), [&] { ++taken; });
    ASSERT_TRUE(eventually([&] { return taken > 0; }));
    EXPECT_LT(taken, messages / 2);
    // It overtakes them.
    task->send("hello");
    socket->goOnReading();
    ASSERT_TRUE(eventually([&] { return socket->texts().size() == messages + 1; })) << socket->texts().size();
    EXPECT_EQ(taken, messages);
    QStringList texts = socket->texts();
    EXPECT_LT(texts.indexOf("hello"), messages / 2);
    texts.removeOne("hello");
    for (int number = 0; number < messages; ++number)
        ASSERT_TRUE(texts[number].startsWith(QString::number(number) + 'x')) << number;
}

TEST_F(WebSocketsTest, SendInTurnOverTlsWithoutPilingUp) {
    useTls();
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->stopReading();
    constexpr int messages = 500;
    std::atomic<int> taken = 0;
    for (int number = 0; number < messages; ++number)
        task->sendInTurn(QString::number(number).leftJustified(20'000, QChar('x')), [&] { ++taken; });
    ASSERT_TRUE(eventually([&] { return taken > 0; }));
    // What is encrypted waits, too.
    task->send("hello");
    EXPECT_LT(taken, messages / 2);
    socket->goOnReading();
    ASSERT_TRUE(eventually([&] { return socket->texts().size() == messages + 1; })) << socket->texts().size();
    EXPECT_LT(socket->texts().indexOf("hello"), messages / 2);
}

TEST_F(WebSocketsTest, TellWhoSendsInTurnThatTheyHaveEnded) {
    ASSERT_TRUE(relay.start());
    const auto fresh = transport->makeTask(request());
    std::atomic<int> taken = 0;
    const auto note = [&] {
        ++taken;
    };
    fresh->sendInTurn("waits to be open", note);
    fresh->cancel(SocketCloseCode::goingAway);
    EXPECT_TRUE(eventually([&] { return taken == 1; }));
    fresh->sendInTurn("too late", note);
    EXPECT_TRUE(eventually([&] { return taken == 2; }));

    taken = 0;
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->stopReading();
    constexpr int messages = 500;
    for (int number = 0; number < messages; ++number)
        task->sendInTurn(QString(20'000, 'x'), note);
    ASSERT_TRUE(eventually([&] { return taken > 0; }));
    EXPECT_LT(taken, messages);
    // With its task.
    task.reset();
    EXPECT_TRUE(eventually([&] { return taken == messages; }));
}

TEST_F(WebSocketsTest, LeaveARelayThatSendsPingsAndReadsNothing) {
    const LogCapture log("pelorin.relay");
    transport.emplace(NetworkTransport::Limits{.backlog = 100'000});
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    socket->stopReading();
    const QByteArray ping = QByteArray("\x89\x7d", 2) + QByteArray(125, 'p');
    const qint64 before = residentMemory();
    // Far more than the system itself keeps for a connection.
    for (int round = 0; round < 2000 && !reader.hasFailed(); ++round) {
        socket->sendBytes(ping.repeated(500));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(fails());
    EXPECT_TRUE(LogCapture::contains("No answers are taken"));
    if (memoryIsMeasurable) {
        EXPECT_LT(residentMemory() - before, 100 * 1024 * 1024);
    }
}

TEST_F(WebSocketsTest, AnswerPingsWithoutEnd) {
    transport.emplace(NetworkTransport::Limits{.backlog = 1000});
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    const QByteArray ping = QByteArray("\x89\x7d", 2) + QByteArray(125, 'p');
    for (int round = 0; round < 200; ++round) {
        socket->sendBytes(ping);
        socket->sendText(QString::number(round));
        ASSERT_TRUE(eventually([&] { return reader.messages().size() == round + 1; }));
    }
    EXPECT_FALSE(reader.hasFailed());
}

TEST_F(WebSocketsTest, DropWhatDoesNotFitBeforeTheyAreOpen) {
    transport.emplace(NetworkTransport::Limits{.backlog = 100});
    ASSERT_TRUE(relay.start());
    task = transport->makeTask(request());
    task->send(QString(60, 'a'));
    task->send(QString(60, 'b'));
    task->send(QString(40, 'c'));
    task->resume();
    ASSERT_TRUE(eventually([&] { return relay.openSocket() && relay.openSocket()->texts().size() == 2; }));
    EXPECT_THAT(relay.openSocket()->texts(), ElementsAre(QString(60, 'a'), QString(40, 'c')));
}

TEST_F(WebSocketsTest, GoNowhereWithAHeaderThatWouldStartAnother) {
    ASSERT_TRUE(relay.start());
    SocketRequest broken = request();
    broken.headers = {{"Authorization", "Bearer tok\r\nX-Other: 1"}};
    task = transport->makeTask(broken);
    task->resume();
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_EQ(relay.connections(), 0);
}

TEST_F(WebSocketsTest, GoOverTlsToARelayThatCanBeTrusted) {
    useTls();
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    auto* const socket = opened();
    ASSERT_TRUE(socket);
    task->send("there");
    socket->sendText("and back");
    ASSERT_TRUE(eventually([&] { return socket->texts().size() == 1 && reader.messages().size() == 1; }));
    task->cancel(SocketCloseCode::goingAway);
    ASSERT_TRUE(eventually([&] { return !socket->isOpen(); }));
    EXPECT_EQ(socket->closePayload(), QByteArray("\x03\xe9"));
}

TEST_F(WebSocketsTest, TellNothingToARelayThatCannotBeTrusted) {
    const LogCapture log("pelorin.relay");
    useTls();
    ASSERT_TRUE(relay.start());
    task = open();
    task->send("secret");
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_THAT(relay.requests(), IsEmpty());
    EXPECT_TRUE(log.contains("The certificate of")) << "A user can find out why.";
    EXPECT_FALSE(log.contains("Bearer"));
}

TEST_F(WebSocketsTest, TellNothingToARelayWithACertificateForAnotherName) {
    useTls(TestCertificates::Server::anotherName);
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    task = open();
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_THAT(relay.requests(), IsEmpty());
}

TEST_F(WebSocketsTest, TellNothingToARelayWithAnExpiredCertificate) {
    useTls(TestCertificates::Server::expired);
    const TrustedAuthority trusted(certificates->authority);
    transport.emplace();
    ASSERT_TRUE(relay.start());
    task = open();
    reader.follow(task);
    EXPECT_TRUE(fails());
    EXPECT_THAT(relay.requests(), IsEmpty());
}

TEST_F(WebSocketsTest, TrustTheAuthorityThatTheEnvironmentNames) {
    useTls();
    const NamedAuthority named(certificates->authority);
    ASSERT_TRUE(relay.start());
    EXPECT_TRUE(opened());
}

TEST_F(WebSocketsTest, AreLoggedWithoutWhatIsSecret) {
    const LogCapture log("pelorin.relay");
    ASSERT_TRUE(relay.start());
    SocketRequest secret = request();
    secret.url.setPath("/t0ken/ws-mac");
    secret.url.setQuery("t=t0ken");
    secret.url.setUserInfo("ann:t0ken");
    secret.timeout = 200ms;
    const auto failsWith = [&](const QByteArray& authorization) {
        secret.headers = {{"Authorization", authorization}};
        Reader ofThis;
        const auto failing = transport->makeTask(secret);
        failing->resume();
        failing->send("t0ken");
        ofThis.follow(failing);
        EXPECT_TRUE(eventually([&] { return ofThis.hasFailed(); }));
    };
    for (const TestRelayAnswer& answer :
         {TestRelayAnswer::status(401, "t0ken"), TestRelayAnswer{Kind::close, {}}, TestRelayAnswer{Kind::silence, {}},
          TestRelayAnswer::status(302, {}, {{"Location", "http://other.test/t0ken?t=t0ken"}})}) {
        relay.answer("/t0ken/ws-mac", answer);
        failsWith("Bearer t0ken");
    }
    failsWith("Bearer t0ken\n");
    EXPECT_GE(log.messages().size(), 5) << "Every failure leaves a line.";
    EXPECT_FALSE(log.contains("t0ken")) << log.messages().join('\n').toStdString();
}

TEST_F(WebSocketsTest, LetTheSystemWatchTheirPeer) {
    ASSERT_TRUE(relay.start());
    ASSERT_TRUE(opened());
    task->send("configured before this");
    ASSERT_TRUE(eventually([&] { return !relay.openSocket()->texts().isEmpty(); }));
    // Of the two ends of the connection, both of which are ours, only the client's is watched.
    int watched = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 || peer.sin_family != AF_INET ||
            ntohs(peer.sin_port) != QUrl(relay.url()).port())
            continue;
        int keepAlive = 0;
        int noDelay = 0;
        size = sizeof keepAlive;
        getsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &keepAlive, &size);
        size = sizeof noDelay;
        getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
        if (keepAlive != 0 && noDelay != 0)
            ++watched;
    }
    EXPECT_EQ(watched, 1);
}

} // namespace
} // namespace pelorin
