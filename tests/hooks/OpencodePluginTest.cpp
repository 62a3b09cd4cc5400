#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/HookInstallation.h"

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

// The plugin as it is installed, loaded by a stand-in for opencode.
namespace pelorin {
namespace {

namespace fs = std::filesystem;

const std::string rootSession = "ses_e0421dc5bffen8AeQxNi1xmO6m";
const std::string askedPermission = "per_1fbde3eb7001FHOgCx40PjzCTj";

std::string captured(const std::string& name) {
    return capturedPayload("opencode/" + name + ".json");
}

class OpencodePlugin : public testing::Test {
protected:
    void SetUp() override {
        fs::copy_file(testedHelper(), m_installation.programs() / "pelorin-hook", fs::copy_options::overwrite_existing);
        const auto install = TestProcess::start(
            {.command = {"/bin/bash", m_installation.scripts() / "install-hooks.sh", "--cli", "opencode"},
             .environment = {"HOME=" + m_home.path().string(), "PATH=/usr/bin:/bin"}});
        ASSERT_EQ(install->waitForExit(), exited(0)) << install->errors();
        // opencode takes the file for a module whatever its name; the stand-in goes by the name.
        fs::copy_file(m_home.path() / ".config/opencode/plugin/pelorin.js", plugin());
    }

    fs::path plugin() const { return m_home.path() / "pelorin.mjs"; }
    const HookInstallation& installation() const { return m_installation; }
    LoopbackListener& listener() { return m_listener; }

    std::unique_ptr<TestProcess> startHost(std::uint16_t port, const std::vector<std::string>& environment,
                                           const fs::path& file) const {
        auto host = startHook(
            {"/usr/bin/env", "node", PELORIN_SOURCE_DIR "/tests/hooks/opencode-host.mjs", file, "/home/user/project"},
            port, environment);
        EXPECT_TRUE(hasSaid(*host, "\"loaded\"\n")) << host->errors();
        return host;
    }
    std::unique_ptr<TestProcess> startHost(std::uint16_t port, const std::vector<std::string>& environment = {}) const {
        return startHost(port, environment, plugin());
    }
    std::unique_ptr<TestProcess> startHost() const { return startHost(m_listener.port()); }

    static bool hasSaid(TestProcess& host, const std::string& text) {
        return host.waitForOutput([&](const std::string& output) { return output.find(text) != std::string::npos; });
    }

    static void send(TestProcess& host, std::string event) {
        std::replace(event.begin(), event.end(), '\n', ' ');
        EXPECT_TRUE(host.writeInput(event + "\n"));
    }

    /// The next request, which is answered at once.
    ReceivedRequest nextTold() {
        auto connection = m_listener.accept();
        EXPECT_TRUE(connection);
        auto request = connection ? connection->readRequest() : std::nullopt;
        EXPECT_TRUE(request);
        if (connection)
            connection->reply("ok");
        return request.value_or(ReceivedRequest());
    }

    void expectTold(const std::string& path, const std::string& sessionId) {
        const ReceivedRequest request = nextTold();
        EXPECT_EQ(request.path, path);
        EXPECT_EQ(jsonObject(request.body).value("session_id").toString().toStdString(), sessionId) << request.body;
        EXPECT_EQ(jsonObject(request.body).value("source"), "opencode");
    }

    LoopbackConnection nextAsked(AskEvent* ask = nullptr) {
        auto connection = m_listener.accept();
        EXPECT_TRUE(connection);
        const auto request = connection->readRequest();
        EXPECT_TRUE(request);
        EXPECT_EQ(request->path, "/permission");
        const auto decoded = AskEvent::decode(QByteArray::fromStdString(request->body), WallTime());
        EXPECT_TRUE(decoded);
        if (ask)
            *ask = *decoded;
        return std::move(*connection);
    }

    void endQuietly(TestProcess& host, const std::string& output) {
        host.closeInput();
        EXPECT_EQ(host.waitForExit(), exited(0));
        EXPECT_EQ(host.errors(), "");
        EXPECT_EQ(host.output(), output);
    }

private:
    HookInstallation m_installation;
    TemporaryDirectory m_home;
    LoopbackListener m_listener;
};

TEST_F(OpencodePlugin, TellsOfASessionOnceAndOfItsEnd) {
    const auto host = startHost();
    send(*host, captured("session.created"));
    const ReceivedRequest request = nextTold();
    EXPECT_EQ(request.path, "/register");
    const auto session = SessionInfo::decode(QByteArray::fromStdString(request.body));
    ASSERT_TRUE(session);
    EXPECT_EQ(session->sessionId.toStdString(), rootSession);
    EXPECT_EQ(session->cwd, "/home/user/project");
    EXPECT_EQ(session->source, "opencode");
    send(*host, captured("session.created"));
    send(*host, captured("session.updated"));
    send(*host, captured("session.status"));
    send(*host, captured("session.idle"));
    expectTold("/clear", rootSession);
    send(*host, "dispose");
    expectTold("/unregister", rootSession);
    EXPECT_TRUE(hasSaid(*host, "\"disposed\"\n"));
    endQuietly(*host, "\"loaded\"\n\"disposed\"\n");
}

TEST_F(OpencodePlugin, ForgetsADeletedSession) {
    const auto host = startHost();
    send(*host, captured("session.updated"));
    expectTold("/register", rootSession);
    send(*host, R"({"type":"session.deleted","properties":{"info":{"id":")" + rootSession + R"("}}})");
    expectTold("/unregister", rootSession);
    send(*host, "dispose");
    EXPECT_TRUE(hasSaid(*host, "\"disposed\"\n"));
    endQuietly(*host, "\"loaded\"\n\"disposed\"\n");
}

TEST_F(OpencodePlugin, CarriesPermissionsOutAndTheAnswersBack) {
    for (const auto& [decision, response] :
         {std::pair<std::string, std::string>{"allow", "once"}, {"deny", "reject"}}) {
        SCOPED_TRACE(decision);
        const auto host = startHost();
        send(*host, captured("session.created"));
        expectTold("/register", rootSession);
        send(*host, captured("permission.asked"));
        AskEvent ask;
        LoopbackConnection asked = nextAsked(&ask);
        EXPECT_EQ(ask.displayMessage(), "Bash: touch marker");
        EXPECT_EQ(ask.sessionId.toStdString(), rootSession);
        EXPECT_EQ(ask.cwd, "/home/user/project");
        EXPECT_EQ(ask.agentType, "");
        EXPECT_TRUE(asked.reply(R"({"decision":")" + decision + R"("})"));
        const std::string answer = R"({"session":")" + rootSession + R"(","permission":")" + askedPermission +
                                   R"(","response":")" + response + "\"}\n";
        EXPECT_TRUE(hasSaid(*host, answer));
        send(*host, captured("permission.replied"));
        expectTold("/clear", rootSession);
        endQuietly(*host, "\"loaded\"\n" + answer);
    }
}

TEST_F(OpencodePlugin, LeavesWhatNobodyDecidesToItsPrompt) {
    const auto host = startHost();
    send(*host, captured("permission.asked"));
    expectTold("/register", rootSession);
    EXPECT_TRUE(nextAsked().reply(R"({"decision":"ask"})"));
    // Should there be an answer, it would come before what is told later.
    send(*host, captured("session.idle"));
    expectTold("/clear", rootSession);
    endQuietly(*host, "\"loaded\"\n");
}

TEST_F(OpencodePlugin, StopsWaitingWhenTheTerminalAnswers) {
    const auto host = startHost();
    send(*host, captured("session.created"));
    expectTold("/register", rootSession);
    send(*host, captured("permission.asked"));
    LoopbackConnection asked = nextAsked();
    send(*host, captured("permission.replied"));
    EXPECT_EQ(asked.waitForEnd(), LoopbackConnection::End::reset);
    expectTold("/clear", rootSession);
    endQuietly(*host, "\"loaded\"\n");
}

TEST_F(OpencodePlugin, StopsWaitingWhenTheTurnOrTheProgramEnds) {
    for (const std::string& end : {captured("session.idle"), std::string("dispose")}) {
        SCOPED_TRACE(end);
        const auto host = startHost();
        send(*host, captured("session.created"));
        expectTold("/register", rootSession);
        send(*host, captured("permission.asked"));
        LoopbackConnection asked = nextAsked();
        send(*host, end);
        EXPECT_EQ(asked.waitForEnd(), LoopbackConnection::End::reset);
        expectTold(end == "dispose" ? "/unregister" : "/clear", rootSession);
        host->closeInput();
        EXPECT_EQ(host->waitForExit(), exited(0));
        EXPECT_EQ(host->errors(), "");
    }
}

// As when the plugin's file stands in two of the folders that opencode looks into.
TEST_F(OpencodePlugin, TellsOnceWhatComesTwice) {
    std::ofstream(plugin().parent_path() / "both.mjs")
        << "export * from './pelorin.mjs'\nexport { Pelorin as Again } from './pelorin.mjs'\n";
    const auto host = startHost(listener().port(), {}, plugin().parent_path() / "both.mjs");
    send(*host, captured("session.created"));
    expectTold("/register", rootSession);
    send(*host, captured("permission.asked"));
    send(*host, captured("permission.asked"));
    EXPECT_TRUE(nextAsked().reply(R"({"decision":"allow"})"));
    EXPECT_TRUE(hasSaid(*host, R"("response":"once")"));
    // Of these each of the two tells.
    send(*host, captured("permission.replied"));
    expectTold("/clear", rootSession);
    expectTold("/clear", rootSession);
    send(*host, "dispose");
    expectTold("/unregister", rootSession);
    endQuietly(*host, R"("loaded")"
                      "\n"
                      R"({"session":"ses_e0421dc5bffen8AeQxNi1xmO6m","permission":"per_1fbde3eb7001FHOgCx40PjzCTj",)"
                      R"("response":"once"})"
                      "\n"
                      R"("disposed")"
                      "\n");
}

TEST_F(OpencodePlugin, TellsWhoseSubAgentAsks) {
    const auto host = startHost();
    send(*host, captured("session.created"));
    expectTold("/register", rootSession);
    send(*host, R"({"type":"session.created","properties":{"info":{"id":"ses_child","agent":"explore","parentID":")" +
                    rootSession + R"(","directory":"/home/user/other"}}})");
    send(*host, R"({"type":"permission.asked","properties":{"id":"per_x","sessionID":"ses_child","permission":"edit",)"
                R"("patterns":["a.txt"],"metadata":{"filepath":"/home/user/other/a.txt","diff":"+x"}}})");
    AskEvent ask;
    LoopbackConnection asked = nextAsked(&ask);
    EXPECT_EQ(ask.sessionId.toStdString(), rootSession);
    EXPECT_EQ(ask.agentType, "explore");
    EXPECT_EQ(ask.cwd, "/home/user/other");
    EXPECT_EQ(ask.displayMessage(), "Edit: /home/user/other/a.txt");
    EXPECT_TRUE(asked.reply(R"({"decision":"deny"})"));
    // opencode wants the session's own id.
    EXPECT_TRUE(hasSaid(*host, R"({"session":"ses_child","permission":"per_x","response":"reject"})"));
    send(*host, "dispose");
    expectTold("/unregister", rootSession);
}

TEST_F(OpencodePlugin, ShowsQuestionsAndTakesThemBack) {
    const auto host = startHost();
    send(*host, captured("question.asked"));
    const ReceivedRequest request = nextTold();
    EXPECT_EQ(request.path, "/event");
    const auto ask = AskEvent::decode(QByteArray::fromStdString(request.body), WallTime());
    ASSERT_TRUE(ask);
    EXPECT_EQ(ask->displayMessage(), "Which colour?");
    EXPECT_TRUE(ask->isActionRequired());
    EXPECT_FALSE(ask->isPermission());
    const std::string session = ask->sessionId.toStdString();
    send(*host, R"({"type":"question.replied","properties":{"sessionID":")" + session + R"("}})");
    expectTold("/clear", session);
    endQuietly(*host, "\"loaded\"\n");
}

TEST_F(OpencodePlugin, TakesARefusedAnswerCalmly) {
    const auto host = startHost(listener().port(), {"REFUSE_ANSWERS=1"});
    send(*host, captured("session.created"));
    expectTold("/register", rootSession);
    send(*host, captured("permission.asked"));
    EXPECT_TRUE(nextAsked().reply(R"({"decision":"allow"})"));
    EXPECT_TRUE(hasSaid(*host, R"("response":"once")"));
    send(*host, captured("session.idle"));
    expectTold("/clear", rootSession);
    host->closeInput();
    EXPECT_EQ(host->waitForExit(), exited(0));
    EXPECT_EQ(host->errors(), "");
}

TEST_F(OpencodePlugin, TakesEveryCapturedEventWithoutTheApplication) {
    const RefusingPort port;
    const auto host = startHost(port.port());
    for (const CapturedPayload& payload : capturedPayloads("opencode"))
        send(*host, payload.text);
    send(*host, R"({"type":"session.created"})");
    send(*host, R"({"type":"permission.asked","properties":{}})");
    send(*host, "dispose");
    EXPECT_TRUE(hasSaid(*host, "\"disposed\"\n"));
    endQuietly(*host, "\"loaded\"\n\"disposed\"\n");
}

TEST_F(OpencodePlugin, DoesNothingWhenPelorinIsGone) {
    for (const fs::path& part : {installation().programs() / "pelorin-hook",
                                 installation().hooks() / "adapters/cli-hook.sh", installation().hooks()}) {
        SCOPED_TRACE(part);
        fs::remove_all(part);
        const auto host = startHost();
        send(*host, captured("session.created"));
        send(*host, captured("permission.asked"));
        send(*host, "dispose");
        EXPECT_TRUE(hasSaid(*host, "\"disposed\"\n"));
        endQuietly(*host, "\"loaded\"\n\"disposed\"\n");
    }
}

} // namespace
} // namespace pelorin
