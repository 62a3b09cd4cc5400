#include "tests/relay/NetworkFixture.h"

#include "BeaconryKit/relay/RelaySocket.h"

#include <atomic>
#include <thread>

namespace pelorin {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

const QString hello = R"({"type":"hello","term":true})";

// The relay's socket over the real transport, on real threads.
class RelayRoadTest : public NetworkFixture {
protected:
    void SetUp() override {
        NetworkFixture::SetUp();
        relay.setGreetsBack(true);
        ASSERT_TRUE(relay.start());
        socket = makeSocket();
    }

    std::unique_ptr<RelaySocket> makeSocket() {
        return std::make_unique<RelaySocket>(
            *dispatch, transport,
            RelaySocket::Callbacks{
                .config =
                    [url = relay.url()] {
                        return RelayConfig{url, "tok"};
                    },
                .termEnabled = [] { return true; },
                .onDecision = [this](const QString& id, const QString& decision) { note(id + "=" + decision); },
                .onInput = [this](const QString& text) { note("input " + text); },
                .onResize = [this](int cols, int rows) { note(QString("size %1x%2").arg(cols).arg(rows)); },
                .onNewShell =
                    [this] {
                        note("new shell");
                    }});
    }

    void note(const QString& act) {
        acts.with([&](QStringList& list) { list.append(act); });
    }

    bool becomesConnected() {
        return eventually([&] { return socket->isConnected(); });
    }

    Guarded<QStringList> acts;
    std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    NetworkTransport transport;
    std::unique_ptr<RelaySocket> socket;
};

TEST_F(RelayRoadTest, GreetsToTheByteAndCarriesMessagesBothWays) {
    socket->start();
    ASSERT_TRUE(becomesConnected());
    for (const char* text : {R"({"type":"decision","decisions":[{"id":"r1","decision":"allow"}]})", "\xff", "{",
                             R"({"type":"term-size","cols":100,"rows":40})", R"({"type":"term-in","data":"ä\r"})",
                             R"({"type":"term-new"})"})
        relay.sendToComputers("tok", text);
    relay.openSocket()->sendFrame(0x2, R"({"type":"term-new"})");
    relay.decide("tok", "r2", "deny");
    ASSERT_TRUE(eventually([&] { return acts.copy().contains("r2=deny"); }));
    EXPECT_THAT(acts.copy(), ElementsAre("r1=allow", "size 100x40", "input ä\r", "new shell", "r2=deny"));
    socket->sendTermOut("a\nä");
    ASSERT_TRUE(eventually([&] { return relay.terminalOutput("tok") == "a\nä"; }));
    EXPECT_EQ(relay.openSocket()->texts().first(), hello);
}

TEST_F(RelayRoadTest, NeitherAGreetingNorADecisionWaitsForWhatTheShellPrints) {
    socket->start();
    ASSERT_TRUE(becomesConnected());
    auto* const end = relay.openSocket();
    end->stopReading();
    constexpr int pieces = 500;
    std::atomic<int> taken = 0;
    for (int piece = 0; piece < pieces; ++piece)
        socket->sendTermOut(QString(20'000, 'x'), [&] { ++taken; });
    ASSERT_TRUE(eventually([&] { return taken > 0; }));
    relay.decide("tok", "r1", "allow");
    EXPECT_TRUE(eventually([&] { return acts.copy() == QStringList("r1=allow"); }));
    socket->sendHello();
    EXPECT_LT(taken, pieces / 2);
    end->goOnReading();
    ASSERT_TRUE(eventually([&] { return end->texts().size() == pieces + 2; }));
    EXPECT_LT(end->texts().lastIndexOf(hello), pieces / 2);
    EXPECT_EQ(relay.terminalOutput("tok").size(), pieces * 20'000);
    EXPECT_EQ(taken, pieces);
}

TEST_F(RelayRoadTest, WhatIsPrintedWithoutAConnectionIsTakenAndGone) {
    int taken = 0;
    socket->sendTermOut("lost", [&] { ++taken; });
    EXPECT_EQ(taken, 1);
    socket->start();
    ASSERT_TRUE(becomesConnected());
    EXPECT_EQ(relay.terminalOutput("tok"), "");
}

TEST_F(RelayRoadTest, BearsAnyNumberOfReconnectsWhileOthersUseIt) {
    socket->start();
    std::atomic<bool> isOver = false;
    std::atomic<int> timesConnected = 0;
    std::thread shell([&] {
        while (!isOver) {
            socket->sendTermOut("x");
            if (socket->isConnected())
                ++timesConnected;
            std::this_thread::yield();
        }
    });
    for (int round = 1; round <= 30; ++round) {
        ASSERT_TRUE(eventually([&] { return relay.sockets().size() >= round; }));
        socket->reconnect();
        socket->sendHello();
    }
    EXPECT_TRUE(becomesConnected());
    // The failures of all that was closed call for one more connection, and that one stays.
    EXPECT_TRUE(eventually([&] { return relay.sockets().size() >= 32 && socket->isConnected(); }));
    isOver = true;
    shell.join();
    EXPECT_GT(timesConnected, 0);
    relay.decide("tok", "r1", "allow");
    EXPECT_TRUE(eventually([&] { return !acts.copy().isEmpty(); }));
    EXPECT_THAT(acts.copy(), Each(QString("r1=allow")));
}

TEST_F(RelayRoadTest, MayEndInTheMiddleOfEverything) {
    for (int round = 0; round < 30; ++round) {
        const auto before = relay.sockets().size();
        socket->start();
        if (round % 3 == 0)
            socket->reconnect();
        if (round % 2 == 0) {
            ASSERT_TRUE(eventually([&] { return relay.sockets().size() > before; }));
            relay.sendToComputers("tok", R"({"type":"term-new"})");
        }
        socket = makeSocket();
    }
    EXPECT_TRUE(eventually([&] { return relay.openSockets() == 0; }));
}

} // namespace
} // namespace pelorin
