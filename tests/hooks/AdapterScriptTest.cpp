#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/HookInstallation.h"

#include "BeaconryKit/model/AskEvent.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <map>

// The commands that stand in a CLI's settings, run as the CLI runs them.
namespace pelorin {
namespace {

namespace fs = std::filesystem;

/// The hooks installed for a CLI, with a home of its own.
class WiredCli {
public:
    WiredCli(const HookInstallation& installation, const std::string& cli, const std::string& settings,
             const std::vector<std::string>& options = {}) {
        std::vector<std::string> command = {"/bin/bash", installation.scripts() / "install-hooks.sh", "--cli", cli};
        command.insert(command.end(), options.begin(), options.end());
        const auto install = TestProcess::start(
            {.command = command, .environment = {"HOME=" + m_home.path().string(), "PATH=/usr/bin:/bin"}});
        EXPECT_EQ(install->waitForExit(), exited(0)) << install->errors();
        std::ifstream file(m_home.path() / settings, std::ios::binary);
        m_hooks = jsonObject({std::istreambuf_iterator<char>(file), {}}).value("hooks").toObject();
    }

    /// The command for an event; empty when there is none.
    std::string commandFor(const std::string& event) const {
        const QJsonValue first = m_hooks.value(QString::fromStdString(event))[0];
        const QJsonValue hook = first["hooks"].isArray() ? first["hooks"][0] : first;
        return hook["command"].toString().toStdString();
    }

private:
    TemporaryDirectory m_home;
    QJsonObject m_hooks;
};

class Adapters : public testing::Test {
protected:
    void SetUp() override {
        fs::copy_file(testedHelper(), installation().programs() / "pelorin-hook", fs::copy_options::overwrite_existing);
    }
    const HookInstallation& installation() const { return m_installation; }

private:
    HookInstallation m_installation;
};

struct Expected {
    std::string path;
    /// What the hook prints when the user denies.
    std::string answer;
};

void expectHandedOver(const WiredCli& cli, const std::string& source, const CapturedPayload& payload,
                      const Expected& expected) {
    SCOPED_TRACE(payload.name);
    LoopbackListener listener;
    const auto hook = runHook({"/bin/sh", "-c", cli.commandFor(payload.event)}, payload.text, listener.port());
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    const auto request = connection->readRequest();
    ASSERT_TRUE(request);
    EXPECT_EQ(request->path, expected.path);
    const auto ask = AskEvent::decode(QByteArray::fromStdString(request->body), WallTime());
    ASSERT_TRUE(ask);
    const QJsonObject original = jsonObject(payload.text);
    EXPECT_EQ(ask->sessionId, original.value("session_id").toString());
    EXPECT_EQ(ask->cwd, original.value("cwd").toString());
    EXPECT_EQ(ask->source.toStdString(), source);
    EXPECT_EQ(ask->isPermission(), expected.path == "/permission");
    if (ask->isPermission()) {
        EXPECT_TRUE(connection->reply(R"({"decision":"deny"})"));
    }
    expectQuietEnd(*hook, expected.answer);
}

void expectAllHandedOver(const WiredCli& cli, const std::string& source,
                         const std::map<std::string, Expected>& expected) {
    std::map<std::string, int> seen;
    for (const CapturedPayload& payload : capturedPayloads(source)) {
        const auto row = expected.find(payload.event);
        EXPECT_EQ(cli.commandFor(payload.event).empty(), row == expected.end()) << payload.name;
        if (row == expected.end())
            continue;
        ++seen[payload.event];
        expectHandedOver(cli, source, payload, row->second);
    }
    EXPECT_EQ(seen.size(), expected.size());
}

TEST_F(Adapters, HandOverEveryCapturedPayloadOfCodex) {
    const WiredCli codex(installation(), "codex", ".codex/hooks.json");
    expectAllHandedOver(codex, "codex",
                        {{"SessionStart", {"/register", ""}},
                         {"SessionEnd", {"/unregister", ""}},
                         {"PermissionRequest",
                          {"/permission", R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                          R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})"}},
                         {"UserPromptSubmit", {"/clear", ""}},
                         {"PostToolUse", {"/clear", ""}},
                         {"Stop", {"/clear", ""}},
                         {"Interrupt", {"/clear", ""}}});
}

TEST_F(Adapters, HandOverEveryCapturedPayloadOfGemini) {
    std::map<std::string, Expected> expected = {
        {"SessionStart", {"/register", ""}}, {"SessionEnd", {"/unregister", ""}}, {"Notification", {"/event", ""}},
        {"BeforeAgent", {"/clear", ""}},     {"AfterTool", {"/clear", ""}},       {"AfterAgent", {"/clear", ""}}};
    expectAllHandedOver(WiredCli(installation(), "gemini", ".gemini/settings.json"), "gemini", expected);
    expected["BeforeTool"] = {"/permission", R"({"decision":"deny","reason":"Denied in Pelorin."})"};
    expectAllHandedOver(WiredCli(installation(), "gemini", ".gemini/settings.json", {"--tool-questions"}), "gemini",
                        expected);
}

TEST_F(Adapters, HandOverWhatCursorIsSaidToSend) {
    const WiredCli cursor(installation(), "cursor", ".cursor/hooks.json");
    const std::tuple<const char*, const char*, const char*> table[] = {
        {"sessionStart", "/register", ""},
        {"sessionEnd", "/unregister", ""},
        {"beforeShellExecution", "/permission", R"({"permission":"allow"})"},
        {"beforeMCPExecution", "/permission", R"({"permission":"allow"})"},
        {"beforeSubmitPrompt", "/clear", ""},
        {"stop", "/clear", ""},
    };
    for (const auto& [event, path, answer] : table) {
        SCOPED_TRACE(event);
        LoopbackListener listener;
        const auto hook =
            runHook({"/bin/sh", "-c", cursor.commandFor(event)},
                    R"({"conversation_id":"c","generation_id":"g","workspace_roots":["/w"],"command":"ls",)"
                    R"("tool_name":"ping","tool_input":"{}","hook_event_name":")" +
                        std::string(event) + R"("})",
                    listener.port());
        auto connection = listener.accept();
        ASSERT_TRUE(connection);
        const auto request = connection->readRequest();
        ASSERT_TRUE(request);
        EXPECT_EQ(request->path, path);
        EXPECT_EQ(jsonObject(request->body).value("session_id"), "c");
        EXPECT_EQ(jsonObject(request->body).value("cwd"), "/w");
        EXPECT_EQ(jsonObject(request->body).value("source"), "cursor");
        if (request->path == "/permission") {
            EXPECT_TRUE(connection->reply(R"({"decision":"allow"})"));
        }
        expectQuietEnd(*hook, answer);
    }
}

TEST_F(Adapters, AskOnceWhenOneRequestComesByTwoWays) {
    const WiredCli cursor(installation(), "cursor", ".cursor/hooks.json");
    const WiredCli claude(installation(), "claude", ".claude/settings.json");
    const std::string request =
        R"({"conversation_id":"twice","hook_event_name":"beforeShellExecution","command":"ls","cwd":"/c"})";
    LoopbackListener listener;
    const auto first = runHook({"/bin/sh", "-c", cursor.commandFor("beforeShellExecution")}, request, listener.port());
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->readRequest());
    const auto second = runHook({"/bin/sh", "-c", claude.commandFor("PermissionRequest")}, request, listener.port());
    // It has nothing to say: the other one brings the answer.
    expectQuietEnd(*second);
    auto refused = listener.accept();
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->waitForEnd());
    EXPECT_TRUE(connection->reply(R"({"decision":"allow"})"));
    expectQuietEnd(*first, R"({"permission":"allow"})");
}

TEST_F(Adapters, AreSilentWhenTheApplicationDoesNotRun) {
    const RefusingPort port;
    for (const std::string cli : {"codex", "gemini", "opencode", "cursor"}) {
        for (const std::string command : {"permission", "notify", "clear", "register", "unregister"}) {
            SCOPED_TRACE(cli + " " + command);
            const auto hook = runHook({installation().hooks() / "adapters/cli-hook.sh", cli, command},
                                      R"({"session_id":"s","tool_name":"Bash"})", port.port());
            expectQuietEnd(*hook);
        }
    }
}

TEST_F(Adapters, AreSilentWhenTheHelperIsMissing) {
    const WiredCli codex(installation(), "codex", ".codex/hooks.json");
    ASSERT_TRUE(fs::remove(installation().programs() / "pelorin-hook"));
    LoopbackListener listener;
    const auto expectSilence = [&] {
        const auto hook =
            runHook({"/bin/sh", "-c", codex.commandFor("PermissionRequest")}, R"({"session_id":"s"})", listener.port());
        expectQuietEnd(*hook);
    };
    expectSilence();
    fs::remove_all(installation().hooks());
    expectSilence();
}

TEST_F(Adapters, AreSilentWhenTheyAreCalledInAnOddWay) {
    const RefusingPort port;
    const std::vector<std::vector<std::string>> table = {{}, {"codex"}, {"codex", "nonsense"}, {"", ""}};
    for (const std::vector<std::string>& arguments : table) {
        std::vector<std::string> command = {installation().hooks() / "adapters/cli-hook.sh"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto hook = runHook(command, R"({"session_id":"s"})", port.port());
        expectQuietEnd(*hook);
    }
}

} // namespace
} // namespace pelorin
