#include "tests/app/RunningApplication.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <asio.hpp>
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>

namespace pelorin {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string permissionHook = "claude-permission-hook.sh";

void expectSilentEnd(TestProcess& hook, const std::string& name = {}) {
    EXPECT_EQ(hook.waitForExit(), exited(0)) << name;
    EXPECT_EQ(hook.output(), "") << name;
    EXPECT_EQ(hook.errors(), "") << name;
}

TEST(EndToEnd, APermissionIsShownAndHandedBackWhenNobodyAnswers) {
    const RunningApplication application({{"decisionWaitSeconds", 5}});
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    expectSilentEnd(*hook);
    // The notice that points at the terminal stands in the row's place.
    EXPECT_TRUE(application.waitForPendingAsks(1));
    EXPECT_EQ(application.request("/clear", R"({"session_id":"6e371bc2-8e44-40e5-8c24-a13c30290a7e"})"), "ok");
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(EndToEnd, AnAutomaticDecisionIsPrintedAsTheCliReadsIt) {
    const RunningApplication allowing({{"defaultPolicy", "allow"}});
    const auto allowed = allowing.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    EXPECT_EQ(allowed->waitForExit(), exited(0));
    EXPECT_EQ(allowed->output(), allowedByHook);
    const auto plan = allowing.startHook(permissionHook, capturedPayload("PermissionRequest.ExitPlanMode.plan"));
    EXPECT_EQ(plan->waitForExit(), exited(0));
    EXPECT_THAT(
        plan->output(),
        StartsWith(R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow",)"
                   R"("updatedInput":{"plan":"# Plan: greet)"));

    const RunningApplication denying({{"defaultPolicy", "deny"}});
    const auto denied = denying.startHook(permissionHook, capturedPayload("PermissionRequest.Write"));
    EXPECT_EQ(denied->waitForExit(), exited(0));
    EXPECT_EQ(denied->output(), deniedByHook);
}

TEST(EndToEnd, EveryCapturedPayloadGoesThroughItsHook) {
    const RunningApplication application({{"defaultPolicy", "allow"}});
    const std::map<QString, std::string> scripts{{"PermissionRequest", permissionHook},
                                                 {"Notification", "claude-notify-hook.sh"},
                                                 {"SessionStart", "claude-register-hook.sh"},
                                                 {"SessionEnd", "claude-unregister-hook.sh"}};
    int seen = 0;
    QDirIterator files(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude", {"*.json"}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const std::string payload = file.readAll().toStdString();
        const QString event = QFileInfo(file).fileName().section('.', 0, 0);
        const auto script = scripts.find(event);
        const auto hook =
            application.startHook(script == scripts.end() ? "claude-clear-hook.sh" : script->second, payload);
        if (event != "PermissionRequest" || file.fileName().contains("AskUserQuestion")) {
            expectSilentEnd(*hook, file.fileName().toStdString());
        } else {
            EXPECT_EQ(hook->waitForExit(), exited(0)) << file.fileName().toStdString();
            EXPECT_THAT(hook->output(), HasSubstr(R"("behavior":"allow")")) << file.fileName().toStdString();
        }
        ++seen;
    }
    EXPECT_GT(seen, 100);
    EXPECT_EQ(application.status().value("build"), "v6");
}

TEST(EndToEnd, SessionsComeAndGo) {
    const RunningApplication application;
    expectSilentEnd(*application.startHook("claude-register-hook.sh", capturedPayload("SessionStart.startup")));
    expectSilentEnd(*application.startHook("claude-register-hook.sh", capturedPayload("SessionStart.startup")));
    EXPECT_TRUE(application.waitForSessions(1));
    expectSilentEnd(*application.startHook("claude-unregister-hook.sh", capturedPayload("SessionStart.startup")));
    EXPECT_TRUE(application.waitForSessions(0));
}

TEST(EndToEnd, AQuestionIsANoticeAndStaysWithTheTerminal) {
    const RunningApplication application;
    expectSilentEnd(*application.startHook(permissionHook, capturedPayload("PermissionRequest.AskUserQuestion")));
    EXPECT_TRUE(application.waitForPendingAsks(1));
}

TEST(EndToEnd, AHookThatIsToldToStopTakesItsRowAlong) {
    const RunningApplication application;
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(hook->sendSignalToGroup(SIGTERM));
    expectSilentEnd(*hook);
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(EndToEnd, AHookThatIsKilledTakesItsRowAlong) {
    const RunningApplication application;
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(hook->sendSignalToGroup(SIGKILL));
    EXPECT_EQ(hook->waitForExit(), killedBy(SIGKILL));
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(EndToEnd, AWaitingHookEndsWhenTheApplicationIsKilled) {
    RunningApplication application;
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(application.process().sendSignal(SIGKILL));
    expectSilentEnd(*hook);
}

TEST(EndToEnd, HooksSayNothingWhenTheApplicationIsNotRunning) {
    RunningApplication application;
    EXPECT_TRUE(application.process().sendSignal(SIGKILL));
    EXPECT_EQ(application.process().waitForExit(), killedBy(SIGKILL));
    for (const char* script : {"claude-permission-hook.sh", "claude-notify-hook.sh", "claude-clear-hook.sh",
                               "claude-register-hook.sh", "claude-unregister-hook.sh"})
        expectSilentEnd(*application.startHook(script, capturedPayload("PermissionRequest.Bash")), script);
}

TEST(EndToEnd, ASecondCopySaysWhyItEndsAndLeavesTheFirstUnharmed) {
    const RunningApplication application;
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    const auto second = application.startAnotherCopy();
    EXPECT_EQ(second->waitForExit(std::chrono::seconds(4)), exited(1));
    EXPECT_THAT(second->errors(), HasSubstr("Pelorin could not listen on port " + std::to_string(application.port()) +
                                            "\nIs another copy already running? (notReady)\n"));
    EXPECT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(hook->sendSignal(SIGTERM));
    expectSilentEnd(*hook);
}

TEST(EndToEnd, ServesHooksWithoutADisplayAndSaysSo) {
    RunningApplication application({}, RunningApplication::Screen::none);
    EXPECT_TRUE(application.process().waitForOutput([&](const std::string&) {
        return application.process().errors() == "pelorin: no display was found; hooks are served without a panel.\n";
    }));
    const auto hook = application.startHook(permissionHook, capturedPayload("PermissionRequest.Bash"));
    EXPECT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(hook->sendSignal(SIGTERM));
    expectSilentEnd(*hook);
}

TEST(EndToEnd, GoesOnWhenNobodyReadsWhatItSays) {
    RunningApplication application({}, RunningApplication::Screen::offscreen, {},
                                   {"QT_LOGGING_RULES=pelorin.router.debug=true"});
    application.process().closeErrors();
    EXPECT_EQ(application.request("/nothing-answers-to-this"), "ok");
    EXPECT_EQ(application.request("/nothing-answers-to-this"), "ok");
    EXPECT_EQ(application.status().value("build"), "v6");
}

#if defined(__linux__)
TEST(EndToEnd, OutlivesHooksThatTakeAllDescriptors) {
    // Nobody answers at this relay, and each push of the rows needs a connection.
    RunningApplication application({{"relayURL", "http://127.0.0.1:9"}, {"relayToken", "token"}});
    const rlimit limit{100, 100};
    ASSERT_EQ(prlimit(application.process().processId(), RLIMIT_NOFILE, &limit, nullptr), 0);
    asio::io_context context;
    std::vector<asio::ip::tcp::socket> hooks;
    for (int hook = 0; hook < 150; ++hook) {
        const std::string number = std::to_string(hook);
        const std::string body =
            R"({"session_id":"s","tool_name":"Bash","tool_input":{"command":"true"},"request_id":")" + number + R"("})";
        hooks.emplace_back(context).connect({asio::ip::address_v4::loopback(), application.port()});
        hooks.back().set_option(asio::socket_base::linger(true, 0));
        asio::write(hooks.back(), asio::buffer("POST /permission HTTP/1.1\r\nContent-Length: " +
                                               std::to_string(body.size()) + "\r\n\r\n" + body));
    }
    // All that it takes are parked, and the others wait in the system's queue. When some go, the rest comes.
    for (int hook = 0; hook < 100; ++hook)
        hooks[static_cast<std::size_t>(hook)].close();
    EXPECT_TRUE(application.waitForPendingAsks(50));
    for (asio::ip::tcp::socket& hook : hooks)
        hook.close();
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(EndToEnd, GoesOnWhenAFileMayGrowNoFurther) {
    RunningApplication application;
    std::ifstream file("/proc/" + std::to_string(application.process().processId()) + "/status");
    std::string line;
    while (std::getline(file, line) && !line.starts_with("SigIgn:")) {
    }
    const auto ignored = std::stoull(line.substr(line.find('\t')), nullptr, 16);
    EXPECT_TRUE(ignored & (1ULL << (SIGXFSZ - 1))) << line;
}
#endif

TEST(EndToEnd, StartingWritesNothingIntoTheHome) {
    const RunningApplication application;
    EXPECT_EQ(application.status().value("decisionWaitSeconds").toInt(), 45);
    EXPECT_FALSE(application.homeContains("com.pelorin.manager"));
}

} // namespace
} // namespace pelorin
