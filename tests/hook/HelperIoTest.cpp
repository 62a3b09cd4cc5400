#include "BeaconryHook/ObjectInput.h"
#include "BeaconryHook/ServiceConnection.h"
#include "tests/support/LoopbackListener.h"
#include "tests/support/OtherUser.h"
#include "tests/support/TestDescriptor.h"

#include <gmock/gmock.h>

#include <array>
#include <fcntl.h>
#include <future>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace pelorin::hook {
namespace {

struct Pipe {
    TestDescriptor reading;
    TestDescriptor writing;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    return {TestDescriptor(ends[0]), TestDescriptor(ends[1])};
}

void writeAll(const TestDescriptor& descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor.get(), text.data(), text.size());
        ASSERT_GT(count, 0);
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

Deadline longDeadline() {
    return Deadline::afterMilliseconds(patience.count());
}

TEST(ReadObject, StopsAtTheEndOfTheObjectThoughTheStreamGoesOn) {
    const Pipe pipe = makePipe();
    writeAll(pipe.writing, " \n{\"a\":{\"b\":1}}\n{\"more\":");
    EXPECT_EQ(readObject(pipe.reading.get(), longDeadline()), R"({"a":{"b":1}})");
}

TEST(ReadObject, PutsPiecesTogether) {
    Pipe pipe = makePipe();
    const std::string object = R"({"a":")" + std::string(300'000, 'x') + R"("})";
    std::thread writer([&] {
        for (std::size_t start = 0; start < object.size(); start += 7001)
            writeAll(pipe.writing, std::string_view(object).substr(start, 7001));
    });
    EXPECT_EQ(readObject(pipe.reading.get(), longDeadline()), object);
    writer.join();
}

TEST(ReadObject, GivesNothingForAnIncompleteOrMalformedObject) {
    for (const std::string_view text : {"", "   ", "{", "{\"a\":1", "[]", "text", "{\"a\":1]"}) {
        Pipe pipe = makePipe();
        writeAll(pipe.writing, text);
        pipe.writing.close();
        EXPECT_EQ(readObject(pipe.reading.get(), longDeadline()), std::nullopt) << text;
    }
}

TEST(ReadObject, LeavesAMalformedStreamAtOnceThoughItGoesOn) {
    const Pipe pipe = makePipe();
    writeAll(pipe.writing, "no object");
    EXPECT_EQ(readObject(pipe.reading.get(), longDeadline()), std::nullopt);
}

TEST(ReadObject, GivesUpAtTheDeadline) {
    const Pipe pipe = makePipe();
    writeAll(pipe.writing, "{\"a\":");
    EXPECT_EQ(readObject(pipe.reading.get(), Deadline::afterMilliseconds(30)), std::nullopt);
}

TEST(ReadObject, ReadsADescriptorThatDoesNotBlock) {
    const Pipe pipe = makePipe();
    fcntl(pipe.reading.get(), F_SETFL, O_NONBLOCK);
    std::thread writer([&] { writeAll(pipe.writing, "{}"); });
    EXPECT_EQ(readObject(pipe.reading.get(), longDeadline()), "{}");
    writer.join();
}

TEST(ReadObject, TakesAnObjectUpToTheLimitAndDrainsALargerOne) {
    const auto objectOf = [](std::size_t size) {
        return R"({"a":")" + std::string(size - 8, 'x') + R"("})";
    };
    for (const std::size_t size : {payloadLimit, payloadLimit + 1, payloadLimit * 3}) {
        Pipe pipe = makePipe();
        const std::string object = objectOf(size);
        std::thread writer([&] {
            // Returns only when the reader has taken it all.
            writeAll(pipe.writing, object);
            pipe.writing.close();
        });
        const auto read = readObject(pipe.reading.get(), longDeadline());
        writer.join();
        EXPECT_EQ(read.has_value(), size <= payloadLimit) << size;
        if (read) {
            EXPECT_EQ(*read, object);
        }
    }
}

TEST(ServiceConnection, FindsNobodyOnAPortThatRefuses) {
    const RefusingPort port;
    EXPECT_FALSE(ServiceConnection::open(port.port(), longDeadline()));
}

TEST(ServiceConnection, DoesNotWaitForAServiceThatTakesNoMoreConnections) {
    LoopbackListener listener(0);
    // The system takes one connection more than it was told to.
    std::vector<TestDescriptor> waiting;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(listener.port());
    for (int count = 0; count < 3; ++count) {
        waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        connect(waiting.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    EXPECT_FALSE(ServiceConnection::open(listener.port(), Deadline::afterMilliseconds(50)));
}

TEST(ServiceConnection, DoesNotWaitForAServiceThatReadsNothing) {
    LoopbackListener listener;
    auto connection = ServiceConnection::open(listener.port(), longDeadline());
    ASSERT_TRUE(connection);
    // More than the system holds for the other end.
    EXPECT_FALSE(connection->send(std::string(64'000'000, 'x'), Deadline::afterMilliseconds(50)));
}

TEST(ServiceConnection, CarriesOnWithWhatWasSentAfterItHasGone) {
    LoopbackListener listener;
    const std::string body(400'000, 'x');
    const std::string request = composeRequest("/event", body);
    std::thread sender([&] {
        auto connection = ServiceConnection::open(listener.port(), longDeadline());
        ASSERT_TRUE(connection);
        ASSERT_TRUE(connection->send(request, longDeadline()));
    });
    auto accepted = listener.accept();
    ASSERT_TRUE(accepted);
    const auto received = accepted->readRequest();
    sender.join();
    ASSERT_TRUE(received);
    EXPECT_EQ(received->body, body);
    EXPECT_EQ(accepted->waitForEnd(), LoopbackConnection::End::closed);
}

TEST(ServiceConnection, GivesUpWaitingAtTheDeadlineAndResets) {
    LoopbackListener listener;
    auto connection = ServiceConnection::open(listener.port(), longDeadline());
    ASSERT_TRUE(connection);
    auto accepted = listener.accept();
    ASSERT_TRUE(accepted);
    connection->resetUnlessAnswered();
    const Pipe answer = makePipe();
    EXPECT_EQ(connection->awaitDecision(answer.writing.get(), Deadline::afterMilliseconds(30)), Decision::ask);
    connection.reset();
    EXPECT_EQ(accepted->waitForEnd(), LoopbackConnection::End::reset);
}

TEST(ServiceConnection, EndsInGoodOrderAfterAReply) {
    LoopbackListener listener;
    auto connection = ServiceConnection::open(listener.port(), longDeadline());
    ASSERT_TRUE(connection);
    auto accepted = listener.accept();
    ASSERT_TRUE(accepted);
    connection->resetUnlessAnswered();
    ASSERT_TRUE(accepted->send("HTTP/1.1 200 OK\r\nContent-Length: 19\r\n\r\n{\"decision\":\"deny\"}"));
    const Pipe answer = makePipe();
    EXPECT_EQ(connection->awaitDecision(answer.writing.get(), longDeadline()), Decision::deny);
    connection.reset();
    EXPECT_EQ(accepted->waitForEnd(), LoopbackConnection::End::closed);
}

// Some CLIs make a socket pair into a one-way channel. That its other direction has ended is no sign that they have
// gone.
TEST(ServiceConnection, GoesOnWaitingWhenTheAnswersSocketOnlyGoesOneWay) {
    LoopbackListener listener;
    auto connection = ServiceConnection::open(listener.port(), longDeadline());
    ASSERT_TRUE(connection);
    auto accepted = listener.accept();
    ASSERT_TRUE(accepted);
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const TestDescriptor ofTheCli(ends[0]);
    const TestDescriptor ofTheHook(ends[1]);
    ASSERT_EQ(shutdown(ofTheCli.get(), SHUT_WR), 0);
    ASSERT_EQ(shutdown(ofTheHook.get(), SHUT_RD), 0);
    std::thread application([&] { accepted->reply(R"({"decision":"allow"})"); });
    EXPECT_EQ(connection->awaitDecision(ofTheHook.get(), longDeadline()), Decision::allow);
    application.join();
}

TEST(ServiceConnection, StopsWaitingWhenNobodyReadsTheAnswer) {
    LoopbackListener listener;
    auto connection = ServiceConnection::open(listener.port(), longDeadline());
    ASSERT_TRUE(connection);
    Pipe answer = makePipe();
    answer.reading.close();
    EXPECT_EQ(connection->awaitDecision(answer.writing.get(), longDeadline()), Decision::ask);
}

/// A connection that waits in a thread of its own, with little patience.
struct Waiting {
    explicit Waiting(LoopbackListener& listener)
        : connection(ServiceConnection::open(listener.port(), longDeadline())), accepted(listener.accept()) {}

    Pipe answer = makePipe();
    std::optional<ServiceConnection> connection;
    std::optional<LoopbackConnection> accepted;
    std::future<Decision> decision = std::async(
        std::launch::async, [this] { return connection->awaitDecision(answer.writing.get(), longDeadline(), 20); });
};

TEST(ServiceConnection, GoesOnWaitingAsLongAsTheApplicationTellsItsStatus) {
    LoopbackListener listener;
    Waiting waiting(listener);
    for (int question = 0; question < 3; ++question) {
        auto connection = listener.accept();
        ASSERT_TRUE(connection);
        const auto request = connection->readRequest();
        ASSERT_TRUE(request);
        EXPECT_EQ(request->method, "GET");
        EXPECT_EQ(request->path, "/status");
        EXPECT_EQ(request->headers.at("host"), "127.0.0.1");
        // The first bytes of it are answer enough.
        connection->reply("{}");
    }
    EXPECT_TRUE(waiting.accepted->reply(R"({"decision":"allow"})"));
    EXPECT_EQ(waiting.decision.get(), Decision::allow);
}

TEST(ServiceConnection, StopsWaitingWhenTheApplicationDoesNotTellItsStatus) {
    LoopbackListener listener;
    Waiting waiting(listener);
    EXPECT_EQ(waiting.decision.get(), Decision::ask);
    EXPECT_TRUE(listener.accept(std::chrono::milliseconds(0))) << "it has asked";
}

TEST(ServiceConnection, StopsWaitingWhenNobodyListensAnyMore) {
    LoopbackListener listener;
    Waiting waiting(listener);
    listener.close();
    EXPECT_EQ(waiting.decision.get(), Decision::ask);
}

TEST(ServiceConnection, ConnectsToNoOtherUsersService) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    std::optional<LoopbackListener> listener;
    {
        const AsOtherUser user;
        listener.emplace();
    }
    EXPECT_FALSE(ServiceConnection::open(listener->port(), longDeadline()));
    auto accepted = listener->accept();
    ASSERT_TRUE(accepted);
    EXPECT_FALSE(accepted->readRequest()) << "not a byte came";
}

} // namespace
} // namespace pelorin::hook
