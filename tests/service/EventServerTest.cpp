#include "BeaconryKit/service/EventServer.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/support/OtherUser.h"
#include "tests/support/SoftDescriptorLimit.h"

#include <QScopeGuard>
#include <asio.hpp>
#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <sys/resource.h>
#include <thread>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using asio::ip::tcp;

/// Collects what the server's handler is given, for the test to look at and to answer when it likes.
class Requests {
public:
    struct Request {
        QByteArray path;
        QByteArray body;
        WaitingHook hook;
    };

    EventServer::Handler handler() {
        return [this](const QByteArray& path, const QByteArray& body, const WaitingHook& hook) {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back({path, body, hook});
            m_arrived.notify_all();
        };
    }

    /// The next request, waiting for it as long as the test's own time limit allows.
    Request take() {
        std::unique_lock lock(m_mutex);
        m_arrived.wait(lock, [this] { return !m_requests.empty(); });
        Request request = std::move(m_requests.front());
        m_requests.pop_front();
        return request;
    }

    bool isEmpty() {
        const std::lock_guard lock(m_mutex);
        return m_requests.empty();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<Request> m_requests;
};

/// A plain blocking client.
class Client {
public:
    explicit Client(quint16 port) { m_socket.connect({asio::ip::address_v4::loopback(), port}); }

    void send(const QByteArray& bytes) {
        asio::error_code error;
        asio::write(m_socket, asio::buffer(bytes.constData(), static_cast<std::size_t>(bytes.size())), error);
    }
    void sendUrgent(char byte) { m_socket.send(asio::buffer(&byte, 1), asio::socket_base::message_out_of_band); }
    void endSending() { m_socket.shutdown(tcp::socket::shutdown_send); }
    void close() { m_socket.close(); }
    void reset() {
        m_socket.set_option(asio::socket_base::linger(true, 0));
        m_socket.close();
    }
    /// Everything that the server sends until it closes; `error` tells an orderly end from a reset.
    QByteArray readAll(asio::error_code* error = nullptr) {
        std::string bytes;
        asio::error_code end;
        asio::read(m_socket, asio::dynamic_buffer(bytes), end);
        if (error)
            *error = end;
        return QByteArray::fromStdString(bytes);
    }

private:
    asio::io_context m_context;
    tcp::socket m_socket{m_context};
};

QByteArray post(const QByteArray& path, const QByteArray& body) {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

/// Waits until nobody listens on the port any more.
void awaitRefusal(quint16 port) {
    for (;;) {
        try {
            Client another(port);
            another.readAll();
        } catch (const asio::system_error&) {
            return;
        }
    }
}

class EventServerTest : public ::testing::Test {
protected:
    EventServerTest() { EXPECT_EQ(server.start(), std::nullopt); }

    /// A whole exchange, which goes through the server's queue behind all that has come to it before.
    void exchangeAnother() {
        Client other(server.port());
        other.send(post("/", ""));
        requests.take().hook.respond("ok");
        other.readAll();
    }

    Requests requests;
    EventServer server{0, true, requests.handler()};
};

TEST_F(EventServerTest, HandsOverTheRequestAndWritesTheReplyToTheLetter) {
    Client client(server.port());
    client.send(post("/event?x=1", "hello"));
    const auto request = requests.take();
    EXPECT_EQ(request.path, "/event?x=1");
    EXPECT_EQ(request.body, "hello");
    const QByteArray body = R"({"decision":"ask","why":"silent"})";
    ASSERT_EQ(body.size(), 33);
    request.hook.respond(body);
    asio::error_code end;
    EXPECT_EQ(client.readAll(&end),
              "HTTP/1.1 200 OK\r\nContent-Length: 33\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n" +
                  body);
    EXPECT_EQ(end, asio::error::eof);
}

TEST_F(EventServerTest, AssemblesARequestFromItsPieces) {
    Client client(server.port());
    const QByteArray bytes = post("/permission", "hello");
    for (const char byte : bytes)
        client.send(QByteArray(1, byte));
    EXPECT_EQ(requests.take().body, "hello");
    EXPECT_TRUE(requests.isEmpty());
}

TEST_F(EventServerTest, AnswersAPeerThatHasEndedItsSendingSide) {
    Client client(server.port());
    client.send("GET /status HTTP/1.1\r\n\r\n");
    client.endSending();
    const auto request = requests.take();
    EXPECT_EQ(request.body, "");
    std::atomic<bool> gone = false;
    request.hook.whenGone([&] { gone = true; });
    // Another whole exchange goes through the server's queue after the end has arrived there.
    exchangeAnother();
    EXPECT_FALSE(gone);
    request.hook.respond("{}");
    EXPECT_TRUE(client.readAll().endsWith("\r\n\r\n{}"));
}

TEST_F(EventServerTest, AnswersOnlyOnce) {
    Client client(server.port());
    client.send(post("/", ""));
    const auto request = requests.take();
    request.hook.respond("first");
    request.hook.respond("second");
    EXPECT_TRUE(client.readAll().endsWith("\r\n\r\nfirst"));
    request.hook.respond("third");
}

TEST_F(EventServerTest, AnswersOnlyOnceHoweverCloselyTheRepliesFollow) {
    // On the server's own queue both are there before anything is sent and closed.
    EventServer eager(0, true, [](const QByteArray&, const QByteArray&, const WaitingHook& hook) {
        hook.respond("first");
        hook.respond("second");
    });
    ASSERT_EQ(eager.start(), std::nullopt);
    for (int round = 0; round < 20; ++round) {
        Client client(eager.port());
        client.send(post("/", ""));
        EXPECT_TRUE(client.readAll().endsWith("\r\n\r\nfirst"));
    }
}

TEST_F(EventServerTest, IsAnsweredFromAnyThreadAtAnyTime) {
    std::vector<std::unique_ptr<Client>> clients;
    std::vector<std::thread> threads;
    for (int index = 0; index < 50; ++index) {
        clients.push_back(std::make_unique<Client>(server.port()));
        clients.back()->send(post("/", QByteArray::number(index)));
        threads.emplace_back([request = requests.take()] { request.hook.respond("re " + request.body); });
    }
    for (int index = 0; index < 50; ++index)
        EXPECT_TRUE(
            clients[static_cast<std::size_t>(index)]->readAll().endsWith("\r\n\r\nre " + QByteArray::number(index)));
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(EventServerTest, SendsALongReplyWhole) {
    Client client(server.port());
    client.send(post("/", ""));
    const QByteArray reply(5'000'000, 'r');
    requests.take().hook.respond(reply);
    EXPECT_TRUE(client.readAll().endsWith("\r\n\r\n" + reply));
}

TEST_F(EventServerTest, DoesNotLoseTheReplyToAPeerThatSentTooMuch) {
    Client client(server.port());
    client.send(post("/", "hello"));
    const auto request = requests.take();
    client.send(QByteArray(100'000, 'x'));
    request.hook.respond("ok");
    // A reset would reach the client before it has read anything.
    while (server.connectionCount() > 0)
        std::this_thread::yield();
    asio::error_code end;
    EXPECT_TRUE(client.readAll(&end).endsWith("ok"));
    EXPECT_EQ(end, asio::error::eof);
}

class SilentlyClosed : public EventServerTest, public ::testing::WithParamInterface<QByteArray> {};

TEST_P(SilentlyClosed, WithoutAReply) {
    Client client(server.port());
    client.send(GetParam());
    client.endSending();
    EXPECT_EQ(client.readAll(), "");
    EXPECT_TRUE(requests.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Requests, SilentlyClosed,
    ::testing::Values("PUT / HTTP/1.1\r\n\r\n", "POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\nhell", "nonsense", "",
                      "POST /\xff x\r\n\r\n", "POST /permission HTTP/1.1\r\nOrigin: http://localhost:3000\r\n\r\n",
                      QByteArray("POST / HTTP/1.1\r\nContent-Length: 2000000\r\n\r\n").leftJustified(1'000'001, 'x')));

TEST_F(EventServerTest, ClosesAnOverlongRequestBeforeItsSenderIsDone) {
    Client client(server.port());
    client.send(QByteArray("POST / HTTP/1.1\r\nContent-Length: 2000000\r\n\r\n").leftJustified(1'500'000, 'x'));
    EXPECT_EQ(client.readAll(), "");
    EXPECT_TRUE(requests.isEmpty());
}

TEST_F(EventServerTest, TakesTheLargestRequest) {
    Client client(server.port());
    const QByteArray head = "POST / x\r\nContent-Length: 999964\r\n\r\n";
    const QByteArray body(1'000'000 - head.size(), 'b');
    ASSERT_EQ(body.size(), 999'964);
    client.send(head + body);
    EXPECT_EQ(requests.take().body, body);
}

TEST_F(EventServerTest, TellsThatAWaitingPeerWasReset) {
    Client client(server.port());
    client.send(post("/permission", "{}"));
    const auto request = requests.take();
    // Shared with the server's thread, which may still be in it when the wait ends.
    const auto gone = std::make_shared<std::promise<void>>();
    request.hook.whenGone([gone] { gone->set_value(); });
    client.reset();
    gone->get_future().wait();
    request.hook.respond("too late");
}

TEST_F(EventServerTest, TellsOfAResetThatCameBeforeAnybodyAsked) {
    Client client(server.port());
    client.send(post("/permission", "{}"));
    const auto request = requests.take();
    client.reset();
    while (server.connectionCount() > 0)
        std::this_thread::yield();
    // Shared with the server's thread, which may still be in it when the wait ends.
    const auto gone = std::make_shared<std::promise<void>>();
    request.hook.whenGone([gone] { gone->set_value(); });
    gone->get_future().wait();
}

TEST_F(EventServerTest, KeepsWhatNobodyWillAnswerUntilItsPeerCloses) {
    Client waiting(server.port());
    waiting.send(post("/permission", "{}"));
    (void)requests.take();
    // Another whole exchange goes through the server's queue after the right to answer has gone.
    exchangeAnother();
    while (server.connectionCount() > 1)
        std::this_thread::yield();
    EXPECT_EQ(server.connectionCount(), 1);
    // What follows the request is passed over.
    waiting.send("more");
    waiting.close();
    while (server.connectionCount() > 0)
        std::this_thread::yield();
}

TEST_F(EventServerTest, ReleasesWhatNobodyWillAnswerThoughItsPeerClosedBefore) {
    Client waiting(server.port());
    waiting.send(post("/permission", "{}"));
    {
        const auto request = requests.take();
        waiting.endSending();
        exchangeAnother();
        while (server.connectionCount() > 1)
            std::this_thread::yield();
        EXPECT_EQ(server.connectionCount(), 1) << "it can still be answered";
    }
    while (server.connectionCount() > 0)
        std::this_thread::yield();
    EXPECT_EQ(waiting.readAll(), "");
}

#if defined(__linux__)
/// Whether there is a thread of this name and waits for something.
bool isAsleep(const std::string& threadName) {
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(thread.path() / "stat");
        const std::string stat{std::istreambuf_iterator<char>(file), {}};
        const std::size_t nameEnd = stat.rfind(')');
        if (stat.find("(" + threadName + ")") != std::string::npos)
            return stat.at(nameEnd + 2) == 'S';
    }
    return false;
}

TEST_F(EventServerTest, RestsAfterAnUrgentByte) {
    Client waiting(server.port());
    waiting.send(post("/permission", "{}"));
    const auto request = requests.take();
    for (const char byte : {'u', 'v'}) {
        waiting.sendUrgent(byte);
        exchangeAnother();
        // The system has room for the end of the thread's name only.
        while (!isAsleep(".pelorin.server"))
            std::this_thread::yield();
    }
    request.hook.respond("answer");
    EXPECT_TRUE(waiting.readAll().endsWith("answer"));
}

TEST_F(EventServerTest, ServesNoOtherUser) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    std::unique_ptr<Client> foreign;
    {
        const AsOtherUser user;
        foreign = std::make_unique<Client>(server.port());
    }
    foreign->send(post("/permission", "{}"));
    EXPECT_EQ(foreign->readAll(), "");
    EXPECT_TRUE(requests.isEmpty());
    Client own(server.port());
    own.send(post("/", ""));
    requests.take().hook.respond("ok");
    EXPECT_TRUE(own.readAll().endsWith("ok"));
}

TEST_F(EventServerTest, ListensOnOneAddressAlone) {
    // All of 127.0.0.0/8 is this machine: who listens on all addresses is reached here, too.
    asio::io_context context;
    tcp::socket socket(context);
    asio::error_code error;
    socket.connect({asio::ip::make_address_v4("127.0.0.2"), server.port()}, error);
    EXPECT_EQ(error, asio::error::connection_refused);
}

/// How many sockets a program gets that is started by somebody who closes nothing for it.
qsizetype inheritedSockets() {
    FILE* const list = popen("exec ls -l /proc/self/fd </dev/null 2>/dev/null", "r");
    QByteArray text;
    std::array<char, 4096> piece;
    while (const std::size_t count = fread(piece.data(), 1, piece.size(), list))
        text.append(piece.data(), static_cast<qsizetype>(count));
    pclose(list);
    return text.count("socket:");
}

TEST_F(EventServerTest, PassesNoSocketOnToOtherPrograms) {
    Client client(server.port());
    client.send(post("/permission", "{}"));
    const auto waiting = requests.take();
    // The client's own socket is one that passes on.
    EXPECT_EQ(inheritedSockets(), 1);
    waiting.hook.respond("{}");
}
#endif

TEST_F(EventServerTest, StopsListeningButFinishesWhatIsOpen) {
    Client client(server.port());
    client.send(post("/", ""));
    const auto request = requests.take();
    const quint16 port = server.port();
    server.stop();
    awaitRefusal(port);
    request.hook.respond("still here");
    EXPECT_TRUE(client.readAll().endsWith("still here"));
}

TEST_F(EventServerTest, LeavesThePortToANewServerAtOnce) {
    const quint16 port = server.port();
    // A connection that the server closes first leaves its port in a waiting state.
    Client client(port);
    client.send(post("/", ""));
    requests.take().hook.respond("ok");
    client.readAll();
    server.stop();
    // Nobody listens any more, and only the waiting state is left of it.
    awaitRefusal(port);
    EventServer next(port, true, requests.handler());
    EXPECT_EQ(next.start(), std::nullopt);
    EXPECT_EQ(next.port(), port);
}

TEST_F(EventServerTest, ASecondServerOnThePortIsNotReadyAndTheFirstUnharmed) {
    const auto before = std::chrono::steady_clock::now();
    EventServer second(server.port(), true, [](const auto&, const auto&, const auto&) {});
    EXPECT_EQ(second.start(), EventServer::ServerError::notReady);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 3s);
    EXPECT_EQ(description(EventServer::ServerError::notReady), "notReady");
    Client client(server.port());
    client.send(post("/", ""));
    requests.take().hook.respond("first");
    EXPECT_TRUE(client.readAll().endsWith("first"));
}

TEST(EventServer, ClosesEverythingWhenItIsDestroyed) {
    Requests requests;
    auto server = std::make_unique<EventServer>(0, true, requests.handler());
    ASSERT_EQ(server->start(), std::nullopt);
    Client waiting(server->port());
    waiting.send(post("/permission", "{}"));
    Client unfinished(server->port());
    unfinished.send("POST");
    const auto request = requests.take();
    while (server->connectionCount() < 2)
        std::this_thread::yield();
    server.reset();
    EXPECT_EQ(waiting.readAll(), "");
    EXPECT_EQ(unfinished.readAll(), "");
    request.hook.respond("to nobody");
    bool toldOfNobody = false;
    request.hook.whenGone([&] { toldOfNobody = true; });
    EXPECT_TRUE(toldOfNobody);
}

TEST(EventServer, NeedsNoStart) {
    const EventServer server(0, true, [](const auto&, const auto&, const auto&) {});
    EXPECT_EQ(server.port(), 0);
}

QByteArray incompleteRequest(qsizetype size) {
    return QByteArray("POST / HTTP/1.1\r\nContent-Length: 999000\r\n\r\n").leftJustified(size, 'x');
}

TEST_F(EventServerTest, ClosesTheOldestIncompleteRequestsOnceTheyAllKeepTooMuch) {
    Client parked(server.port());
    parked.send(post("/permission", "parked"));
    const auto parkedRequest = requests.take();
    const QByteArray much = incompleteRequest(900'000);
    std::deque<Client> clients;
    for (int index = 0; index < 80; ++index) {
        clients.emplace_back(server.port());
        clients.back().send(much);
    }
    // 71 of them keep less than 64 MB, and the one that is parked keeps nothing of it.
    while (server.connectionCount() > 72)
        std::this_thread::yield();
    for (std::size_t index = 0; index < 9; ++index)
        EXPECT_EQ(clients[index].readAll(), "") << index;
    EXPECT_TRUE(requests.isEmpty());
    for (std::size_t index = 9; index < clients.size(); ++index) {
        clients[index].send(QByteArray(100'000, 'y'));
        EXPECT_EQ(requests.take().body.size(), 999'000) << index;
    }
    parkedRequest.hook.respond("answer");
    EXPECT_TRUE(parked.readAll().endsWith("answer"));
}

/// The number that the next descriptor of this process gets.
rlim_t nextDescriptor() {
    const int next = dup(0);
    ::close(next);
    return static_cast<rlim_t>(next);
}

TEST_F(EventServerTest, MakesRoomForNewHooksWhenIncompleteRequestsHoldAllDescriptors) {
    Client parked(server.port());
    parked.send(post("/permission", "parked"));
    const auto parkedRequest = requests.take();
    std::deque<Client> clients;
    for (int index = 0; index < 40; ++index) {
        clients.emplace_back(server.port());
        clients.back().send(incompleteRequest(1'000));
    }
    while (server.connectionCount() < 41)
        std::this_thread::yield();
    // The late hook's own descriptor is made first: server and clients share this process's limit.
    asio::io_context context;
    tcp::socket late(context, tcp::v4());
    const SoftDescriptorLimit limit(nextDescriptor());
    late.connect({asio::ip::address_v4::loopback(), server.port()});
    const QByteArray bytes = post("/", "late");
    asio::write(late, asio::buffer(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    const auto request = requests.take();
    EXPECT_EQ(request.body, "late");
    request.hook.respond("in the end");
    std::string reply;
    asio::error_code end;
    asio::read(late, asio::dynamic_buffer(reply), end);
    EXPECT_TRUE(reply.ends_with("in the end"));
    EXPECT_EQ(clients.front().readAll(), "") << "the oldest had to go";
    parkedRequest.hook.respond("answer");
    EXPECT_TRUE(parked.readAll().endsWith("answer"));
}

TEST_F(EventServerTest, LeavesDescriptorsToTheRestOfTheProgram) {
    asio::io_context context;
    std::vector<tcp::socket> clients;
    for (int index = 0; index < 200; ++index)
        clients.emplace_back(context, tcp::v4());
    const rlim_t limit = nextDescriptor() + 160;
    const SoftDescriptorLimit limited(limit);
    const QByteArray bytes = post("/permission", "{}");
    for (tcp::socket& client : clients) {
        client.connect({asio::ip::address_v4::loopback(), server.port()});
        asio::write(client, asio::buffer(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    }
    std::deque<Requests::Request> parked;
    const auto reserve = static_cast<int>(std::min<rlim_t>(64, limit / 8));
    // One connection more than there is room for is taken before the listener rests.
    while (server.connectionCount() < 160 - reserve)
        std::this_thread::yield();
    for (int index = 0; index < 160 - reserve; ++index)
        parked.push_back(requests.take());
    std::vector<FileDescriptor> others;
    for (int index = 0; index < reserve - 1; ++index) {
        others.emplace_back(dup(0));
        EXPECT_TRUE(others.back().isOpen()) << index;
    }
    others.clear();
    // Each one that ends lets the next one in.
    for (std::size_t answered = 0; answered < clients.size(); ++answered) {
        if (parked.empty())
            parked.push_back(requests.take());
        parked.front().hook.respond("{}");
        parked.pop_front();
    }
    for (tcp::socket& client : clients) {
        std::string reply;
        asio::error_code end;
        asio::read(client, asio::dynamic_buffer(reply), end);
        EXPECT_TRUE(reply.ends_with("{}"));
    }
}

TEST_F(EventServerTest, RecoversWhenDescriptorsRanOut) {
    Client parked(server.port());
    parked.send(post("/permission", "parked"));
    const auto parkedRequest = requests.take();

    // The clients' descriptors are made first: server and clients share this process's limit.
    asio::io_context context;
    std::vector<tcp::socket> clients;
    for (int index = 0; index < 8; ++index)
        clients.emplace_back(context, tcp::v4());
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_NOFILE, &before); });
    // The next descriptor that the process would get is the first one beyond the limit.
    const int next = dup(0);
    ::close(next);
    rlimit tight = before;
    tight.rlim_cur = static_cast<rlim_t>(next);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    for (tcp::socket& client : clients) {
        client.connect({asio::ip::address_v4::loopback(), server.port()});
        const QByteArray bytes = post("/", "late");
        asio::write(client, asio::buffer(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    }
    // What was parked is answered, and its descriptor lets the next one in, and so on.
    parkedRequest.hook.respond("answer");
    EXPECT_TRUE(parked.readAll().endsWith("answer"));
    for (std::size_t index = 0; index < clients.size(); ++index) {
        const auto request = requests.take();
        EXPECT_EQ(request.body, "late");
        request.hook.respond("in the end");
    }
    for (tcp::socket& client : clients) {
        std::string reply;
        asio::error_code end;
        asio::read(client, asio::dynamic_buffer(reply), end);
        EXPECT_TRUE(reply.ends_with("in the end"));
    }
}

} // namespace
} // namespace pelorin
