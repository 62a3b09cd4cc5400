#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/HookInstallation.h"

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

// The scripts, in the layout in which they are installed and in that of a checkout.
namespace pelorin {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string scriptNames[] = {"claude-permission-hook.sh", "claude-notify-hook.sh", "claude-clear-hook.sh",
                                   "claude-register-hook.sh", "claude-unregister-hook.sh"};

std::string scriptFor(const std::string& event) {
    if (event == "PermissionRequest")
        return "claude-permission-hook.sh";
    if (event == "SessionStart")
        return "claude-register-hook.sh";
    if (event == "SessionEnd")
        return "claude-unregister-hook.sh";
    for (const char* goingOn : {"UserPromptSubmit", "PostToolUse", "Stop"}) {
        if (event == goingOn)
            return "claude-clear-hook.sh";
    }
    return "claude-notify-hook.sh";
}

const std::map<std::string, std::string> pathOfScript = {
    {"claude-permission-hook.sh", "/permission"}, {"claude-notify-hook.sh", "/event"},
    {"claude-clear-hook.sh", "/clear"},           {"claude-register-hook.sh", "/register"},
    {"claude-unregister-hook.sh", "/unregister"},
};

// A CLI runs `sh -c COMMAND`.
std::vector<std::string> asCommandOfACli(const fs::path& script) {
    return {"/bin/sh", "-c", "'" + script.string() + "'"};
}

fs::path sourceHooks() {
    return fs::path(PELORIN_SOURCE_DIR) / "hooks";
}

class InstalledHooks : public testing::Test {
protected:
    void SetUp() override { fs::copy_file(testedHelper(), helper(), fs::copy_options::overwrite_existing); }

    fs::path hooks() const { return m_installation.hooks(); }
    fs::path helper() const { return m_installation.programs() / "pelorin-hook"; }
    fs::path programs() const { return m_installation.programs(); }

    void removeHelper() { ASSERT_TRUE(fs::remove(helper())); }

private:
    HookInstallation m_installation;
};

std::vector<std::string> programsIn(const fs::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.is_regular_file() && (entry.status().permissions() & fs::perms::others_exec) != fs::perms::none)
            names.push_back(entry.path().filename());
    }
    return names;
}

TEST_F(InstalledHooks, AreTheScriptsAndTheHelper) {
    EXPECT_THAT(programsIn(hooks()), testing::UnorderedElementsAreArray(scriptNames));
    EXPECT_THAT(programsIn(hooks() / "adapters"), testing::ElementsAre("cli-hook.sh"));
    EXPECT_TRUE(fs::exists(hooks() / "adapters/opencode.mjs"));
    EXPECT_TRUE(fs::exists(hooks() / "run-helper.sh"));
    EXPECT_THAT(programsIn(programs()), testing::UnorderedElementsAre("pelorin-hook", "pelorin-hook-setup"));
}

// As in a bundle.
TEST_F(InstalledHooks, PreferTheHelperBesideThem) {
    fs::rename(helper(), hooks() / "pelorin-hook");
    LoopbackListener listener;
    const auto hook =
        runHook(asCommandOfACli(hooks() / "claude-notify-hook.sh"), R"({"session_id":"s"})", listener.port());
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/event");
}

TEST_F(InstalledHooks, HandEveryCapturedPayloadToTheApplication) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        SCOPED_TRACE(payload.name);
        const std::string script = scriptFor(payload.event);
        const bool isQuestion = payload.text.find(R"("tool_name":"AskUserQuestion")") != std::string::npos;
        const bool isPermission = script == "claude-permission-hook.sh" && !isQuestion;
        LoopbackListener listener;
        const auto hook = runHook(asCommandOfACli(hooks() / script), payload.text, listener.port());
        auto connection = listener.accept();
        ASSERT_TRUE(connection);
        const auto request = connection->readRequest();
        ASSERT_TRUE(request);
        EXPECT_EQ(request->path, isQuestion ? "/event" : pathOfScript.at(script));
        const QByteArray body = QByteArray::fromStdString(request->body);
        const QJsonObject original = jsonObject(payload.text);
        const auto ask = AskEvent::decode(body, WallTime());
        ASSERT_TRUE(ask);
        EXPECT_EQ(ask->sessionId, original.value("session_id").toString());
        EXPECT_EQ(ask->cwd, original.value("cwd").toString());
        EXPECT_EQ(ask->source, "claude");
        EXPECT_EQ(ask->agentType, original.value("agent_type").toString());
        EXPECT_EQ(ask->isPermission(), isPermission);
        if (isPermission) {
            EXPECT_EQ(ask->toolName, original.value("tool_name").toString());
            EXPECT_EQ(ask->actionSummary, AskEvent::summary(ask->toolName, original.value("tool_input").toObject()));
        }
        ASSERT_TRUE(connection->reply(isPermission ? R"({"decision":"deny"})" : "ok"));
        expectQuietEnd(*hook, isPermission ? R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                             R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})"
                                           : "");
    }
}

TEST_F(InstalledHooks, RunUnderEveryShell) {
    const std::vector<std::vector<std::string>> shells = {
        {"/bin/sh"}, {"/bin/bash"}, {"/bin/bash", "--posix"}, {"/bin/bash", "-p"}};
    for (std::vector<std::string> command : shells) {
        SCOPED_TRACE(command.back());
        LoopbackListener listener;
        command.push_back(hooks() / "claude-notify-hook.sh");
        const auto hook = runHook(command, R"({"session_id":"s"})", listener.port());
        expectQuietEnd(*hook);
        EXPECT_EQ(nextRequest(listener).path, "/event");
    }
}

TEST_F(InstalledHooks, RunWithoutADirectoryInTheirName) {
    LoopbackListener listener;
    const auto hook = runHook({"/bin/sh", "-c", "cd \"$0\" && exec sh claude-clear-hook.sh", hooks()},
                              R"({"session_id":"s"})", listener.port());
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/clear");
}

TEST_F(InstalledHooks, RunThroughALinkToTheirFolder) {
    fs::create_directory_symlink(hooks(), programs() / "linked");
    LoopbackListener listener;
    const auto hook = runHook(asCommandOfACli(programs() / "linked/claude-register-hook.sh"), R"({"session_id":"s"})",
                              listener.port());
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/register");
}

TEST_F(InstalledHooks, AreNotDisturbedByTheUsersShellSettings) {
    const fs::path settings = hooks() / "noisy";
    std::ofstream(settings) << "echo noise\n";
    LoopbackListener listener;
    const auto hook =
        runHook(asCommandOfACli(hooks() / "claude-notify-hook.sh"), R"({"session_id":"s"})", listener.port(),
                {"ENV=" + settings.string(), "BASH_ENV=" + settings.string(), "CDPATH=/", "SHELLOPTS=xtrace"});
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/event");
}

// Were the script still there beneath the helper, the signal would end it with the signal's status.
TEST_F(InstalledHooks, TurnIntoTheHelper) {
    LoopbackListener listener;
    const auto hook = startHook({hooks() / "claude-permission-hook.sh"}, listener.port());
    ASSERT_TRUE(hook->writeInput(capturedPayload("claude/tui/PermissionRequest.Bash.json")));
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->readRequest());
    ASSERT_TRUE(hook->sendSignal(SIGTERM));
    expectQuietEnd(*hook);
    EXPECT_EQ(connection->waitForEnd(), LoopbackConnection::End::reset);
}

// The user says no in the terminal: the CLI signals the hook's whole process group.
TEST_F(InstalledHooks, ResetTheirConnectionWhenTheCliStopsThem) {
    LoopbackListener listener;
    const auto hook = startHook(asCommandOfACli(hooks() / "claude-permission-hook.sh"), listener.port());
    ASSERT_TRUE(hook->writeInput(capturedPayload("claude/tui/PermissionRequest.Bash.json")));
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->readRequest());
    ASSERT_TRUE(hook->sendSignalToGroup(SIGTERM));
    EXPECT_EQ(connection->waitForEnd(), LoopbackConnection::End::reset);
    EXPECT_TRUE(hook->waitForExit());
    EXPECT_EQ(hook->output(), "");
    EXPECT_EQ(hook->errors(), "");
}

TEST_F(InstalledHooks, AreSilentWhenTheApplicationDoesNotRun) {
    const RefusingPort port;
    for (const std::string& script : scriptNames) {
        SCOPED_TRACE(script);
        const auto hook = startHook(asCommandOfACli(hooks() / script), port.port());
        ASSERT_TRUE(hook->writeInput(capturedPayload("claude/tui/PermissionRequest.Bash.json")));
        expectQuietEnd(*hook);
    }
}

TEST_F(InstalledHooks, AreSilentWhenTheHelperIsMissing) {
    removeHelper();
    const RefusingPort port;
    for (const std::string& script : scriptNames) {
        for (const std::string shell : {"/bin/sh", "/bin/bash"}) {
            SCOPED_TRACE(shell + " " + script);
            const auto hook = startHook({shell, hooks() / script}, port.port());
            expectQuietEnd(*hook);
        }
    }
}

TEST_F(InstalledHooks, AreSilentWhenWhatTheyShareIsMissing) {
    const RefusingPort port;
    const auto expectSilence = [&] {
        for (const fs::path& script : {hooks() / "claude-permission-hook.sh", hooks() / "adapters/cli-hook.sh"}) {
            for (const std::vector<std::string>& shell :
                 {std::vector<std::string>{"/bin/sh"}, {"/bin/bash"}, {"/bin/bash", "--posix"}}) {
                SCOPED_TRACE(shell.back() + " " + script.string());
                std::vector<std::string> command = shell;
                command.insert(command.end(), {script, "codex", "notify"});
                expectQuietEnd(*startHook(command, port.port()));
            }
        }
    };
    fs::remove(hooks() / "run-helper.sh");
    expectSilence();
    fs::create_directory(hooks() / "run-helper.sh");
    expectSilence();
}

TEST_F(InstalledHooks, AreSilentWhenTheHelperCannotBeRun) {
    removeHelper();
    const RefusingPort port;
    const auto expectSilence = [&] {
        for (const std::string shell : {"/bin/sh", "/bin/bash"}) {
            SCOPED_TRACE(shell);
            const auto hook = startHook({shell, hooks() / "claude-permission-hook.sh"}, port.port());
            expectQuietEnd(*hook);
        }
    };
    std::ofstream(helper()) << "#!/no/such/interpreter\n";
    expectSilence();
    fs::permissions(helper(), fs::perms::owner_all);
    expectSilence();
    fs::remove(helper());
    fs::create_directory(helper());
    expectSilence();
}

TEST(CheckedOutHooks, FindTheHelperInTheBuildFolder) {
    const TemporaryDirectory checkout;
    const fs::path built = checkout.path() / "build/release/bin";
    fs::create_directories(built);
    fs::copy(sourceHooks(), checkout.path() / "hooks");
    fs::copy(testedHelper(), built / "pelorin-hook");
    for (const std::string& script : scriptNames) {
        SCOPED_TRACE(script);
        LoopbackListener listener;
        const auto hook =
            runHook(asCommandOfACli(checkout.path() / "hooks" / script), R"({"session_id":"s"})", listener.port());
        // The end of the connection is an answer too, for the one that waits for an answer.
        EXPECT_EQ(nextRequest(listener).path, pathOfScript.at(script));
        expectQuietEnd(*hook);
    }
}

TEST(CheckedOutHooks, CanBeGivenAnotherHelper) {
    const TemporaryDirectory checkout;
    fs::copy(sourceHooks(), checkout.path() / "hooks");
    LoopbackListener listener;
    const auto hook = runHook(asCommandOfACli(checkout.path() / "hooks/claude-notify-hook.sh"), R"({"session_id":"s"})",
                              listener.port(), {"PELORIN_HOOK_HELPER=" + testedHelper()});
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/event");
}

} // namespace
} // namespace pelorin
