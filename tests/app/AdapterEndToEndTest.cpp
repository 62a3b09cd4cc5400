#include "tests/app/RunningApplication.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <gmock/gmock.h>

#include <csignal>
#include <map>

// The adapters of the other CLIs with the real application.
namespace pelorin {
namespace {

const std::string adapter = "adapters/cli-hook.sh";

std::string captured(const std::string& name) {
    QFile file(QString::fromStdString(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/" + name + ".json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll().toStdString();
}

void expectEnd(TestProcess& hook, const std::string& output) {
    EXPECT_EQ(hook.waitForExit(), exited(0));
    EXPECT_EQ(hook.output(), output);
    EXPECT_EQ(hook.errors(), "");
}

void tell(const RunningApplication& application, const std::string& cli, const std::string& command,
          const std::string& payload) {
    expectEnd(*application.startHook(adapter, payload, {cli, command}), "");
}

TEST(AdapterEndToEnd, SessionsOfEveryCliComeOnceAndGo) {
    const RunningApplication application;
    const std::pair<std::string, std::string> sessions[] = {
        {"codex", captured("codex/SessionStart")},
        {"gemini", captured("gemini/SessionStart")},
        {"opencode", R"({"session_id":"ses_1","cwd":"/c","hook_event_name":"session.created"})"},
        {"cursor", R"({"conversation_id":"c","session_id":"c","hook_event_name":"sessionStart"})"},
    };
    int count = 0;
    for (const auto& [cli, payload] : sessions) {
        tell(application, cli, "register", payload);
        tell(application, cli, "register", payload);
        EXPECT_TRUE(application.waitForSessions(++count)) << cli;
    }
    // Cursor may run the hooks of Claude Code for the same session.
    expectEnd(*application.startHook("claude-register-hook.sh", sessions[3].second), "");
    EXPECT_TRUE(application.waitForSessions(count));
    for (const auto& [cli, payload] : sessions) {
        tell(application, cli, "unregister", payload);
        tell(application, cli, "unregister", payload);
        EXPECT_TRUE(application.waitForSessions(--count)) << cli;
    }
}

TEST(AdapterEndToEnd, EveryCapturedPayloadGoesThroughItsAdapter) {
    const RunningApplication application({{"defaultPolicy", "deny"}});
    const std::map<std::string, std::string> commands{{"SessionStart", "register"},
                                                      {"SessionEnd", "unregister"},
                                                      {"Notification", "notify"},
                                                      {"BeforeTool", "permission"},
                                                      {"PermissionRequest", "permission"}};
    const std::map<std::string, std::string> denials{
        {"codex", R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                  R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})"},
        {"gemini", R"({"decision":"deny","reason":"Denied in Pelorin."})"}};
    int seen = 0;
    for (const auto& [cli, denial] : denials) {
        QDirIterator files(QString::fromStdString(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/" + cli), {"*.json"});
        while (files.hasNext()) {
            const QFileInfo file(files.next());
            const std::string name = file.completeBaseName().toStdString();
            SCOPED_TRACE(cli + "/" + name);
            const auto known = commands.find(name.substr(0, name.find('.')));
            const std::string command = known == commands.end() ? "clear" : known->second;
            expectEnd(*application.startHook(adapter, captured(cli + "/" + name), {cli, command}),
                      command == "permission" ? denial : "");
            ++seen;
        }
    }
    EXPECT_GT(seen, 20);
}

TEST(AdapterEndToEnd, ANoticeOfGeminiStandsUntilTheToolHasRun) {
    const RunningApplication application;
    tell(application, "gemini", "notify", captured("gemini/Notification.write_file"));
    EXPECT_TRUE(application.waitForPendingAsks(1));
    tell(application, "gemini", "clear",
         R"({"session_id":"cc10c0ac-ce6d-4b7c-84a3-f96c9f9949a4","hook_event_name":"AfterTool"})");
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(AdapterEndToEnd, ARequestThatComesByTwoWaysIsShownOnce) {
    const RunningApplication application;
    const std::string request =
        R"({"conversation_id":"c","hook_event_name":"beforeShellExecution","command":"ls","cwd":"/c"})";
    const auto first = application.startHook(adapter, request, {"cursor", "permission"});
    ASSERT_TRUE(application.waitForPendingAsks(1));
    expectEnd(*application.startHook("claude-permission-hook.sh", request), "");
    EXPECT_EQ(application.status().value("pendingAsks").toInt(), 1);
    // What goes on shows that the request has been answered elsewhere.
    tell(application, "cursor", "clear", R"({"conversation_id":"c","hook_event_name":"stop"})");
    expectEnd(*first, "");
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

TEST(AdapterEndToEnd, AStoppedHookOfCodexTakesItsRowAlong) {
    const RunningApplication application;
    const auto hook = application.startHook(adapter, captured("codex/PermissionRequest"), {"codex", "permission"});
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(hook->sendSignalToGroup(SIGTERM));
    expectEnd(*hook, "");
    EXPECT_TRUE(application.waitForPendingAsks(0));
}

} // namespace
} // namespace pelorin
