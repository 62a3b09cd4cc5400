#include "bench/Measure.h"
#include "bench/Program.h"
#include "tests/support/Eventually.h"
#include "tests/support/relay/TestRelay.h"

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/relay/NetworkTransport.h"
#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayMessages.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <unistd.h>

// The phone's road: how long a decision takes from the relay to the hook that waits for it, and what it costs to tell
// the relay of a thousand open asks.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

constexpr std::uint16_t port = 45792;
const int rounds = repetitions(101);
const int manyAsks = repetitions(1000);
const QString token = QStringLiteral("token");
const QString echoToken = QStringLiteral("echo");

/// The end of the benchmark: the programs beside it are ended on the way out.
void require(bool holds, const std::string& what) {
    if (!holds)
        throw std::runtime_error("This failed: " + what);
}

template <class Condition>
void waitUntil(const char* what, Condition condition) {
    require(eventually(condition), what);
}

QByteArray permission(int number) {
    QFile file(QStringLiteral(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude/tui/PermissionRequest.Bash.json"));
    require(file.open(QIODevice::ReadOnly), "a captured payload");
    QJsonObject payload = QJsonDocument::fromJson(file.readAll()).object();
    payload.insert("request_id", QStringLiteral("6bdf1c0d6f5c4b6f8f1d2a3b%1").arg(number));
    return QJsonDocument(payload).toJson(QJsonDocument::Compact);
}

int startHook(int number) {
    return sendOnly(port, postRequest("/permission", permission(number).toStdString()));
}

void printRatio(const char* name, const std::vector<double>& ours, const std::vector<double>& baseline) {
    std::printf("%-44s median %6.0f us, ratio %.2f; p10 %6.0f us, ratio %.2f\n", name, median(ours) * 1e6,
                median(ours) / median(baseline), percentile(ours, 0.1) * 1e6,
                percentile(ours, 0.1) / percentile(baseline, 0.1));
}

/// Seconds until the relay has read one more push.
template <class Send>
double untilPushed(TestRelay& relay, Send send) {
    const qsizetype before = relay.requests("/sync").size();
    const auto start = Clock::now();
    send();
    Clock::time_point end;
    const auto connection = QObject::connect(&relay, &TestRelay::requestArrived, [&] { end = Clock::now(); });
    waitUntil("a push", [&] { return relay.requests("/sync").size() > before; });
    QObject::disconnect(connection);
    return std::chrono::duration<double>(end - start).count();
}

/// The push by itself: from the list in memory to the relay that has read it, against a bare socket that sends the same
/// bytes.
void measurePush() {
    TestRelay relay;
    relay.addToken(token);
    require(relay.start(), "the relay");
    const auto dispatch = makeSystemDispatch();
    NetworkTransport transport;
    RelayClient client(*dispatch, transport);
    SharedAsks asks;
    for (int number = 0; number < manyAsks; ++number)
        asks.append(std::make_shared<AskEvent>(*AskEvent::decode(permission(number), dispatch->now())));
    const auto push = [&] {
        client.sync(relayAsks(asks), relay.url(), token);
    };
    untilPushed(relay, push);
    const QByteArray body = relay.requests("/sync").last().body;
    const std::string bare = "POST /sync HTTP/1.1\r\nAuthorization: Bearer " + token.toStdString() +
                             "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body.toStdString();

    std::vector<double> ours;
    std::vector<double> calls;
    std::vector<double> baseline;
    for (int round = 0; round < rounds; ++round) {
        int descriptor = -1;
        std::thread sender;
        baseline.push_back(untilPushed(relay, [&] {
            sender = std::thread([&] { descriptor = sendOnly(static_cast<std::uint16_t>(relay.serverPort()), bare); });
        }));
        sender.join();
        close(descriptor);
        ours.push_back(untilPushed(relay, [&] {
            const auto start = Clock::now();
            push();
            calls.push_back(secondsSince(start));
        }));
    }
    require(relay.asks(token).size() == manyAsks, "the whole list at the relay");
    std::printf("%d open asks pushed: %lld bytes\n", manyAsks, static_cast<long long>(body.size()));
    printRatio("  the same bytes over a bare socket", baseline, baseline);
    printRatio("  from the list to the relay", ours, baseline);
    printRatio("  of which the main thread is held for", calls, baseline);
}

/// A folder of settings that name the relay.
class Settings {
public:
    explicit Settings(const TestRelay& relay) {
        QDir(m_folder.path()).mkdir("com.pelorin.manager");
        QFile file(m_folder.filePath("com.pelorin.manager/defaults.json"));
        require(file.open(QIODevice::WriteOnly), "the settings");
        file.write(QJsonDocument(QJsonObject{{"relayURL", relay.url()}, {"relayToken", token}}).toJson());
    }
    std::string variable() const { return "XDG_CONFIG_HOME=" + m_folder.path().toStdString(); }

private:
    QTemporaryDir m_folder;
};

/// Seconds from a message of the relay's to its echo.
double echo(TestRelay& relay, TestRelaySocket* socket, const QString& text) {
    Clock::time_point end;
    bool hasCome = false;
    const auto connection = QObject::connect(socket, &TestRelaySocket::textArrived, [&] {
        end = Clock::now();
        hasCome = true;
    });
    const auto start = Clock::now();
    relay.sendToComputers(echoToken, text);
    waitUntil("an echo", [&] { return hasCome; });
    QObject::disconnect(connection);
    return std::chrono::duration<double>(end - start).count();
}

/// Seconds from a decision at the relay to the end of the reply at the hook.
double decide(TestRelay& relay, int number) {
    const int hook = startHook(number);
    waitUntil("the ask at the relay", [&] { return relay.asks(token).size() == 1; });
    Clock::time_point end;
    std::string reply;
    std::thread reader([&] {
        std::array<char, 1024> chunk;
        for (ssize_t count = 0; (count = read(hook, chunk.data(), chunk.size())) > 0;)
            reply.append(chunk.data(), static_cast<std::size_t>(count));
        end = Clock::now();
    });
    const QString id = relay.asks(token).first()["id"].toString();
    const auto start = Clock::now();
    relay.decide(token, id, QStringLiteral("allow"));
    reader.join();
    close(hook);
    require(reply.find(R"({"decision":"allow"})") != std::string::npos, "the reply to the hook");
    waitUntil("an empty list at the relay", [&] { return relay.asks(token).isEmpty(); });
    return std::chrono::duration<double>(end - start).count();
}

void measureDecision(TestRelay& relay) {
    relay.addToken(echoToken);
    const Program echoClient({PELORIN_BINARY_DIR "/echo_client",
                              QString(relay.url()).replace(0, 4, "ws").toStdString() + "/ws-mac",
                              echoToken.toStdString()});
    waitUntil("the echo's socket", [&] { return relay.openSockets() == 2; });
    TestRelaySocket* const echoSocket = relay.sockets().last();
    // As long as a decision is.
    const QString text(90, u'x');
    std::vector<double> ours;
    std::vector<double> baseline;
    for (int round = 0; round < rounds; ++round) {
        baseline.push_back(echo(relay, echoSocket, text));
        ours.push_back(decide(relay, round));
    }
    std::printf("a decision from the relay to the hook\n");
    printRatio("  a bare WebSocket echo", baseline, baseline);
    printRatio("  from the decision to the reply (aim 2.0)", ours, baseline);
}

/// Many hooks at once, through the whole program.
void measureBurst(TestRelay& relay) {
    const qsizetype before = relay.requests("/sync").size();
    std::vector<int> hooks;
    const auto start = Clock::now();
    for (int number = 0; number < manyAsks; ++number)
        hooks.push_back(startHook(rounds + number));
    const double sent = secondsSince(start);
    waitUntil("all asks at the relay", [&] { return relay.asks(token).size() == manyAsks; });
    const double pushed = secondsSince(start);
    const QList<TestRelayRequest> pushes = relay.requests("/sync").sliced(before);
    qsizetype bytes = 0;
    for (const TestRelayRequest& push : pushes)
        bytes += push.body.size();
    std::printf("%d hooks within %.0f ms: %lld pushes, %lld bytes together; the last is there after %.0f ms\n",
                manyAsks, sent * 1e3, static_cast<long long>(pushes.size()), static_cast<long long>(bytes),
                pushed * 1e3);
    for (const int hook : hooks)
        close(hook);
}

/// The push and the decision through the whole program.
void measureProgram() {
    TestRelay relay;
    relay.setGreetsBack(true);
    relay.addToken(token);
    require(relay.start(), "the relay");
    const Settings settings(relay);
    // The offscreen platform complains of every window that it cannot raise.
    const Program pelorin({PELORIN_BINARY_DIR "/pelorin"},
                          {"BEACONRY_PORT=" + std::to_string(port), "QT_QPA_PLATFORM=offscreen",
                           "QT_LOGGING_RULES=default.warning=false", settings.variable()});
    waitUntil("Pelorin's socket", [&] { return relay.openSockets() == 1; });
    measureDecision(relay);
    measureBurst(relay);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    try {
        measurePush();
        measureProgram();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
