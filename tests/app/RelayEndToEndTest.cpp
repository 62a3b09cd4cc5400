#include "tests/app/RunningApplication.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/relay/TestCertificates.h"
#include "tests/support/relay/TestRelay.h"

#include <QJsonDocument>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const QString token = "t0ken";
const QString helloWithoutTerminal = R"({"type":"hello","term":false})";
const QString helloWithTerminal = R"({"type":"hello","term":true})";

// The whole road: a hook script, the program, real sockets, and a relay on the other side.
class RelayEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        relay.addToken(token);
        relay.setGreetsBack(true);
    }

    void TearDown() override {
        for (const TestRelayRequest& request : relay.requests())
            EXPECT_FALSE(request.target.contains(token.toUtf8())) << request.target.toStdString();
    }

    /// Has the relay speak https with a certificate that nobody trusts yet.
    void useTls() {
        certificates = TestCertificates::make(folder.path());
        ASSERT_TRUE(certificates) << "There is no openssl program.";
        relay.useTls(certificates->certificate, certificates->key);
    }

    void start(const QJsonObject& more = {}, const std::vector<std::string>& environment = {}) {
        ASSERT_TRUE(relay.start());
        QJsonObject settings{{"relayURL", relay.url()}, {"relayToken", token}};
        for (auto entry = more.begin(); entry != more.end(); ++entry)
            settings.insert(entry.key(), entry.value());
        application = std::make_unique<RunningApplication>(settings, RunningApplication::Screen::offscreen,
                                                           std::string(), environment);
    }

    std::unique_ptr<TestProcess> startHook(const char* payload = "PermissionRequest.Bash") {
        return application->startHook("claude-permission-hook.sh", capturedPayload(payload));
    }

    /// Whether as many asks as this are waiting at the relay before long.
    bool reachTheRelay(int count) {
        return eventually([&] { return relay.asks(token).size() == count; });
    }

    bool socketOpens() {
        return eventually([&] { return relay.openSocket() && !relay.openSocket()->texts().isEmpty(); });
    }

    /// The ids that the newest push named, whatever the relay said to it.
    QStringList pushedIds() const {
        const QList<TestRelayRequest> pushes = relay.requests("/sync");
        QStringList ids;
        if (!pushes.isEmpty()) {
            const QJsonArray asks = QJsonDocument::fromJson(pushes.last().body)["asks"].toArray();
            for (const auto& ask : asks)
                ids.append(ask[QLatin1String("id")].toString());
        }
        return ids;
    }

    void decide(const QString& id, const QString& decision) { relay.decide(token, id, decision); }

    static void expectEnd(TestProcess& hook, const std::string& output) {
        ASSERT_TRUE(eventually([&] { return hook.waitForExit(0ms).has_value(); }));
        EXPECT_EQ(hook.waitForExit(), exited(0));
        EXPECT_EQ(hook.output(), output);
        EXPECT_EQ(hook.errors(), "");
    }

    QTemporaryDir folder;
    std::optional<TestCertificates> certificates;
    TestRelay relay;
    std::unique_ptr<RunningApplication> application;
};

TEST_F(RelayEndToEnd, ADecisionOfAPhoneEndsTheHook) {
    start();
    ASSERT_TRUE(socketOpens());
    EXPECT_THAT(relay.openSocket()->texts(), ElementsAre(helloWithoutTerminal));
    // What a relay says that is not understood does no harm.
    for (const char* text : {"", "{", "[]", R"({"type":1})", R"({"type":"unknown"})", R"({"type":"decision"})"})
        relay.openSocket()->sendText(text);
    relay.openSocket()->sendFrame(0x2, "\xff\x00\xfe");

    const auto allowed = startHook();
    ASSERT_TRUE(reachTheRelay(1));
    const QJsonObject ask = relay.asks(token).first().toObject();
    EXPECT_THAT(ask.keys(), ElementsAre("at", "id", "isPermission", "message", "project", "source"));
    EXPECT_EQ(ask.value("isPermission"), true);
    EXPECT_EQ(ask.value("source"), "claude");
    decide(ask.value("id").toString(), "allow");
    expectEnd(*allowed, allowedByHook);
    EXPECT_TRUE(reachTheRelay(0));

    const auto denied = startHook("PermissionRequest.Write");
    ASSERT_TRUE(reachTheRelay(1));
    decide(pushedIds().first(), "anything but allow");
    expectEnd(*denied, deniedByHook);
    EXPECT_TRUE(reachTheRelay(0));
}

TEST_F(RelayEndToEnd, TheRoadIsTheSameOverTls) {
    useTls();
    start({}, {"SSL_CERT_FILE=" + certificates->authority.toStdString()});
    ASSERT_TRUE(socketOpens());
    const auto hook = startHook();
    ASSERT_TRUE(reachTheRelay(1));
    decide(pushedIds().first(), "allow");
    expectEnd(*hook, allowedByHook);
    EXPECT_TRUE(reachTheRelay(0));
}

TEST_F(RelayEndToEnd, ARelayThatCannotBeTrustedIsToldNothing) {
    useTls();
    start({{"decisionWaitSeconds", 5}}, {"QT_LOGGING_RULES=pelorin.relay=true"});
    const auto hook = startHook();
    EXPECT_TRUE(application->waitForPendingAsks(1));
    // The hook is handed back to its CLI in time, as without a relay.
    expectEnd(*hook, "");
    EXPECT_TRUE(eventually([&] { return relay.connections() >= 3; })) << "The socket, a push and a poll were tried.";
    EXPECT_THAT(relay.requests(), IsEmpty());

    TestProcess& process = application->process();
    process.sendSignal(SIGTERM);
    process.waitForExit();
    EXPECT_THAT(process.errors(), HasSubstr("pelorin.relay: The certificate of"));
    EXPECT_THAT(process.errors(), Not(HasSubstr(token.toStdString())));
}

TEST_F(RelayEndToEnd, DecisionsArriveByPollingWhileTheSocketIsRefused) {
    relay.answer("/ws-mac", TestRelayAnswer::status(403));
    relay.answer("/sync", TestRelayAnswer::status(500, "junk"));
    relay.answer("/poll", TestRelayAnswer{TestRelayAnswer::Kind::held, {}});
    start();
    const auto hook = startHook();
    ASSERT_TRUE(eventually([&] { return pushedIds().size() == 1; }));
    // The answer to a poll may be slow.
    ASSERT_TRUE(eventually([&] { return !relay.requests("/poll").isEmpty(); }));
    decide(pushedIds().first(), "allow");
    relay.release();
    expectEnd(*hook, allowedByHook);
    EXPECT_GE(relay.requests("/ws-mac").size(), 2);
}

TEST_F(RelayEndToEnd, ARelayThatAcceptsAndSaysNothingIsOvercomeByPolling) {
    relay.setIsMute(true);
    start();
    const auto first = startHook();
    ASSERT_TRUE(eventually([&] { return relay.connections() >= 2; })) << "The socket and a push hang.";
    relay.setIsMute(false);
    // The next push carries both once it has given up waiting for the one that hangs.
    const auto second = startHook("PermissionRequest.Write");
    ASSERT_TRUE(reachTheRelay(2));
    for (const QString& id : pushedIds())
        decide(id, "allow");
    expectEnd(*first, allowedByHook);
    expectEnd(*second, allowedByHook);
    EXPECT_THAT(relay.sockets(), IsEmpty());
}

TEST_F(RelayEndToEnd, HealsAfterTheRelayWasAway) {
    start();
    ASSERT_TRUE(socketOpens());
    // First only one direction is dead, which nobody can notice.
    relay.openSocket()->stopReading();
    const auto first = startHook();
    ASSERT_TRUE(reachTheRelay(1));
    const QString firstId = pushedIds().first();
    relay.goAway();
    const auto second = startHook("PermissionRequest.Write");
    ASSERT_TRUE(application->waitForPendingAsks(2));
    ASSERT_TRUE(relay.start());
    ASSERT_TRUE(socketOpens());
    decide(firstId, "allow");
    expectEnd(*first, allowedByHook);
    // The push that follows tells the relay of all that it has missed.
    ASSERT_TRUE(eventually([&] { return relay.asks(token).size() == 1 && pushedIds().first() != firstId; }));
    relay.openSocket()->reset();
    ASSERT_TRUE(socketOpens());
    decide(pushedIds().first(), "deny");
    expectEnd(*second, deniedByHook);
}

TEST_F(RelayEndToEnd, APhoneDrivesAShellWhenItMay) {
    start({{"phoneTerminalEnabled", true}}, {"SHELL=/bin/bash"});
    ASSERT_TRUE(socketOpens());
    EXPECT_THAT(relay.openSocket()->texts(), ElementsAre(helloWithTerminal));
    const auto prints = [&](const QString& text) {
        return eventually([&] { return relay.terminalOutput(token).contains(text); });
    };
    relay.sendToComputers(token, R"({"type":"term-size","cols":101,"rows":33})");
    relay.sendToComputers(token, R"({"type":"term-in","data":"stty size; kept=yes; echo =$((6*7))ä=\r"})");
    EXPECT_TRUE(prints("33 101\r\n"));
    EXPECT_TRUE(prints("=42ä="));
    relay.sendToComputers(token, R"({"type":"term-new"})");
    relay.sendToComputers(token, R"({"type":"term-in","data":"stty size; echo =${kept:-$((6*8))}=\r"})");
    EXPECT_TRUE(prints("24 80\r\n"));
    EXPECT_TRUE(prints("=48="));
}

TEST_F(RelayEndToEnd, AFloodWaitsForARelayThatReadsSlowlyAndComesWhole) {
    start({{"phoneTerminalEnabled", true}}, {"SHELL=/bin/sh"});
    ASSERT_TRUE(socketOpens());
    relay.sendToComputers(token, R"({"type":"term-in","data":"stty -echo -opost; PS1=; echo re''ady\r"})");
    ASSERT_TRUE(eventually([&] { return relay.terminalOutput(token).contains("ready\n"); }));
    const qsizetype before = relay.terminalOutput(token).size();
    relay.openSocket()->stopReading();
    relay.sendToComputers(token, R"({"type":"term-in","data":"seq 1500000; echo end\r"})");
    // Nobody else waits for it.
    const auto hook = startHook();
    ASSERT_TRUE(reachTheRelay(1));
    decide(pushedIds().first(), "allow");
    expectEnd(*hook, allowedByHook);
    relay.openSocket()->goOnReading();
    ASSERT_TRUE(eventually([&] { return relay.terminalOutput(token).endsWith("end\n"); }));
    QString expected;
    for (int line = 1; line <= 1'500'000; ++line)
        expected += QString::number(line) + '\n';
    EXPECT_TRUE(relay.terminalOutput(token).mid(before) == expected + "end\n");
}

TEST_F(RelayEndToEnd, APhoneDrivesNothingWhenItMayNot) {
    start();
    ASSERT_TRUE(socketOpens());
    const auto hook = startHook();
    ASSERT_TRUE(reachTheRelay(1));
    relay.sendToComputers(token, R"({"type":"term-new"})");
    relay.sendToComputers(token, R"({"type":"term-size","cols":100,"rows":40})");
    relay.sendToComputers(token, R"({"type":"term-in","data":"echo here\r"})");
    // It comes after them, so when it has been heard they have been, too.
    decide(pushedIds().first(), "allow");
    expectEnd(*hook, allowedByHook);
    EXPECT_TRUE(reachTheRelay(0));
    EXPECT_THAT(relay.openSocket()->texts(), ElementsAre(helloWithoutTerminal));
    EXPECT_THAT(runningChildren(application->process().processId()), IsEmpty());
}

TEST_F(RelayEndToEnd, AComputerWithoutATokenGetsOneOfItsOwn) {
    QStringList handedOut;
    QObject::connect(&relay, &TestRelay::tokenHandedOut, [&](const QString& own) { handedOut.append(own); });
    start({{"relayToken", " "}});
    ASSERT_TRUE(eventually([&] { return relay.openSocket() != nullptr; }));
    ASSERT_EQ(handedOut.size(), 1);
    EXPECT_EQ(relay.openSocket()->token(), handedOut.first());
    const auto hook = startHook();
    ASSERT_TRUE(eventually([&] { return relay.asks(handedOut.first()).size() == 1; }));
    relay.decide(handedOut.first(), pushedIds().first(), "allow");
    expectEnd(*hook, allowedByHook);
}

} // namespace
} // namespace pelorin
