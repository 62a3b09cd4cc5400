#include "tests/app/RecordedMachine.h"
#include "tests/app/RunningApplication.h"
#include "tests/app/ShownWindows.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/relay/TestRelay.h"

#include "BeaconryKit/relay/NetworkTransport.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const QString token = QStringLiteral("t0ken");
const QString api = QStringLiteral("session-api");
const QString web = QStringLiteral("session-web");

/// The application with its windows, real hooks, a real network and a relay.
class FullDay : public ::testing::Test, public RecordedMachine {
protected:
    void SetUp() override {
        relay.addToken(token);
        relay.setGreetsBack(true);
        ASSERT_TRUE(relay.start());
        defaults.values = {{"relayURL", relay.url()}, {"relayToken", token}};
        delegate = std::make_unique<AppDelegate>(with(*dispatch, defaults, network, network));
        ASSERT_EQ(delegate->start(0, Display::present), std::nullopt);
    }

    /// Has the CLI of that session call a hook with a captured payload.
    std::unique_ptr<TestProcess> call(const std::string& script, const char* payload, const QString& session) {
        QJsonObject body = QJsonDocument::fromJson(QByteArray::fromStdString(capturedPayload(payload))).object();
        body.insert("session_id", session);
        auto hook = TestProcess::start(
            {.command = {PELORIN_SOURCE_DIR "/hooks/" + script},
             .environment = {"PATH=/usr/bin:/bin", "BEACONRY_PORT=" + std::to_string(delegate->port()),
                             "PELORIN_HOOK_HELPER=" PELORIN_BINARY_DIR "/pelorin-hook"},
             .channels = ChildOptions::Channels::sockets});
        EXPECT_TRUE(hook->writeInput(QJsonDocument(body).toJson().toStdString()));
        hook->closeInput();
        return hook;
    }
    /// As `call`, for hooks that wait for nothing.
    void tell(const std::string& script, const char* payload, const QString& session) {
        expectEnd(*call(script, payload, session), "");
    }
    std::unique_ptr<TestProcess> ask(const QString& session) {
        const int before = shown();
        auto hook = call("claude-permission-hook.sh", "PermissionRequest.Bash", session);
        EXPECT_TRUE(areShown(before + 1));
        return hook;
    }

    /// How many asks and sessions the status item tells of.
    int shown() const { return statusItem.icon->title.trimmed().toInt(); }
    auto sessions() const {
        return std::ranges::count_if(statusItem.menu, [](const MenuItem& item) { return !item.submenu.empty(); });
    }
    bool areShown(int count) {
        return eventually([&] { return shown() == count; });
    }
    void choose(MenuAction action, const std::optional<QString>& session = {}) {
        statusItem.handlers.onTriggered(action, session);
    }
    bool reachTheRelay(qsizetype count) {
        return eventually([&] { return relay.asks(token).size() == count; });
    }
    void decideOnPhone(const QString& decision) {
        relay.decide(token, relay.asks(token).first()["id"].toString(), decision);
    }
    bool socketOpens() {
        return eventually([&] { return relay.openSocket() && !relay.openSocket()->texts().isEmpty(); });
    }
    static void expectEnd(TestProcess& hook, const std::string& output) {
        ASSERT_TRUE(eventually([&] { return hook.waitForExit(0ms).has_value(); }));
        EXPECT_EQ(hook.output(), output);
    }

    TestRelay relay;
    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults;
    NetworkTransport network;
    std::unique_ptr<AppDelegate> delegate;
};

TEST_F(FullDay, SessionsAndAnswersComeFromAllSides) {
    ASSERT_TRUE(socketOpens());
    tell("claude-register-hook.sh", "SessionStart.startup", api);
    tell("claude-register-hook.sh", "SessionStart.startup", web);
    ASSERT_TRUE(eventually([&] { return sessions() == 2; }));
    EXPECT_TRUE(eventually([&] { return statusItem.menu.at(6).title == "Sessions"; }));

    // In the panel.
    const auto first = ask(api);
    ASSERT_TRUE(reachTheRelay(1));
    EXPECT_EQ(statusItem.icon->title, " 1");
    EXPECT_TRUE(clickUntil(panelTitle, "Allow", [&] { return shown() == 0; }));
    expectEnd(*first, allowedByHook);
    EXPECT_TRUE(reachTheRelay(0));

    // On a phone, with the settings changed while the ask waits.
    const auto second = ask(web);
    choose(MenuAction::trackOnlyWyrn);
    choose(MenuAction::trackAllSessions);
    choose(MenuAction::toggleSilentMode);
    EXPECT_TRUE(eventually([&] { return !shownWindow(panelTitle) && statusItem.icon->symbol == "bell.slash"; }));
    ASSERT_TRUE(reachTheRelay(1));
    decideOnPhone("deny");
    expectEnd(*second, deniedByHook);
    EXPECT_TRUE(areShown(0));
    choose(MenuAction::toggleSilentMode);

    // In the manager window, while the relay is away.
    relay.goAway();
    const auto third = ask(api);
    choose(MenuAction::openManager);
    EXPECT_TRUE(clickUntil(managerTitle, "Deny", [&] { return shown() == 0; }));
    expectEnd(*third, deniedByHook);
    shownWindow(managerTitle)->close();

    // The relay comes back; one session is muted, the other is answered by phone.
    ASSERT_TRUE(relay.start());
    ASSERT_TRUE(socketOpens());
    const auto muted = ask(api);
    const auto fourth = ask(web);
    choose(MenuAction::toggleMute, api);
    EXPECT_TRUE(areShown(1));
    ASSERT_TRUE(reachTheRelay(1));
    decideOnPhone("allow");
    expectEnd(*fourth, allowedByHook);
    muted->sendSignal(SIGTERM);
    expectEnd(*muted, "");

    tell("claude-unregister-hook.sh", "SessionEnd.other", api);
    tell("claude-unregister-hook.sh", "SessionEnd.other", web);
    EXPECT_TRUE(eventually([&] { return statusItem.menu.at(6).title == "No Active Sessions"; }));
    EXPECT_TRUE(reachTheRelay(0));
    EXPECT_EQ(statusItem.icon->title, "");
    EXPECT_TRUE(eventually([] { return !shownWindow(panelTitle); }));
}

} // namespace
} // namespace pelorin
