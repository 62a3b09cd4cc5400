#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <thread>

// Helpers of a session in a terminal, where the CLI's own dialog stands.
namespace pelorin {
namespace {

using namespace std::chrono_literals;

constexpr const char* inTerminal = "CLAUDE_CODE_ENTRYPOINT=cli";
constexpr const char* genericNotice =
    R"({"session_id":"s","message":"Claude needs your permission","notification_type":"permission_prompt")";

class StandingDialog : public ::testing::Test {
protected:
    StandingDialog() { write({}); }

    std::string recordPath() const { return m_directory.path() / "session.jsonl"; }
    /// Adds lines to the session's record.
    void write(const std::string& lines) { std::ofstream(recordPath(), std::ios::app) << lines; }
    void writeUse(const std::string& id, const std::string& tool, const std::string& input) {
        write(R"({"message":{"content":[{"type":"tool_use","id":")" + id + R"(","name":")" + tool + R"(","input":)" +
              input + "}]}}\n");
    }
    void writeResult(const std::string& id) {
        write(R"({"message":{"content":[{"type":"tool_result","tool_use_id":")" + id + "\"}]}}\n");
    }

    std::string members() const { return R"("session_id":"s","transcript_path":")" + recordPath() + "\""; }
    std::string question() const {
        return "{" + members() +
               R"(,"tool_name":"AskUserQuestion","tool_input":{"questions":[{"question":"Which?"}]}})";
    }
    std::string bash(const std::string& more = {}) const {
        return "{" + members() + R"(,"tool_name":"Bash","tool_input":{"command":"ls"})" + more + "}";
    }
    std::string event(const std::string& name) const {
        return "{" + members() + R"(,"hook_event_name":")" + name + "\"}";
    }

    std::unique_ptr<TestProcess> start(const std::string& command, const std::string& payload,
                                       const std::string& mode = inTerminal) {
        return runHook({testedHelper(), command}, payload, m_listener.port(),
                       {"XDG_RUNTIME_DIR=" + m_directory.path().string(), mode});
    }
    /// A question that has been posted; its helper stays.
    std::unique_ptr<TestProcess> ask() {
        auto hook = start("permission", question());
        EXPECT_EQ(nextRequest(m_listener).path, "/event");
        EXPECT_FALSE(hook->waitForExit(50ms));
        return hook;
    }
    /// A request that nobody has answered in time; its helper has its reply.
    std::unique_ptr<TestProcess> expire(const std::string& payload, const std::string& mode = inTerminal) {
        auto hook = start("permission", payload, mode);
        auto connection = m_listener.accept();
        EXPECT_TRUE(connection && connection->readRequest());
        // What comes at once is no expiry.
        std::this_thread::sleep_for(1100ms);
        EXPECT_TRUE(connection->reply(R"({"decision":"ask"})"));
        return hook;
    }
    void expectCleared(TestProcess& hook) {
        const ReceivedRequest request = nextRequest(m_listener);
        EXPECT_EQ(request.path, "/clear");
        EXPECT_EQ(jsonObject(request.body).value("session_id"), "s");
        expectQuietEnd(hook);
    }
    void expectNothingCleared(TestProcess& hook) {
        expectQuietEnd(hook);
        auto connection = m_listener.accept(0ms);
        EXPECT_TRUE(!connection || !connection->readRequest());
    }
    /// Runs a hook that waits for nothing, and returns what it posts.
    ReceivedRequest posted(const std::string& command, const std::string& payload) {
        const auto hook = start(command, payload);
        const ReceivedRequest request = nextRequest(m_listener);
        expectQuietEnd(*hook);
        return request;
    }

    TemporaryDirectory m_directory;
    LoopbackListener m_listener;
};

TEST_F(StandingDialog, AQuestionIsWithdrawnWhenTheCliEndsItsHook) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const auto hook = ask();
        hook->sendSignal(signal);
        expectCleared(*hook);
    }
}

TEST_F(StandingDialog, AQuestionIsWithdrawnWhenTheCliHasGone) {
    const auto hook = ask();
    hook->closeOutput();
    EXPECT_EQ(nextRequest(m_listener).path, "/clear");
    EXPECT_EQ(hook->waitForExit(), exited(0));
}

TEST_F(StandingDialog, AQuestionIsWithdrawnWhenTheSessionsRecordHasItsAnswer) {
    const auto hook = ask();
    writeUse("1", "AskUserQuestion", R"({"questions":[{"question":"Which?"}]})");
    writeUse("2", "Bash", "{}");
    writeResult("2");
    EXPECT_FALSE(hook->waitForExit(50ms));
    writeResult("1");
    expectCleared(*hook);
}

TEST_F(StandingDialog, TheSessionsNextEventEndsTheHelperOfAQuestion) {
    const auto hook = ask();
    EXPECT_EQ(posted("clear", event("UserPromptSubmit")).path, "/clear");
    expectNothingCleared(*hook);
}

TEST_F(StandingDialog, WhatALaterHookHasShownIsNotWithdrawn) {
    const auto first = ask();
    const auto second = start("permission", "{" + members() + R"(,"tool_name":"AskUserQuestion","tool_input":{}})");
    EXPECT_EQ(nextRequest(m_listener).path, "/event");
    EXPECT_FALSE(second->waitForExit(50ms));
    first->sendSignal(SIGTERM);
    expectNothingCleared(*first);
    second->sendSignal(SIGTERM);
    expectCleared(*second);
}

TEST_F(StandingDialog, WithoutATerminalNobodyStays) {
    for (const std::string mode : {"CLAUDE_CODE_ENTRYPOINT=sdk-cli", "CLAUDE_CODE_ENTRYPOINT=", "OTHER=cli"}) {
        const auto hook = start("permission", question(), mode);
        EXPECT_EQ(nextRequest(m_listener).path, "/event");
        expectQuietEnd(*hook);
    }
    expectNothingCleared(*expire(bash(), "OTHER=cli"));
}

TEST_F(StandingDialog, NobodyStaysForASubAgent) {
    const auto hook = start("permission", "{" + members() + R"(,"agent_id":"a","tool_name":"AskUserQuestion"})");
    EXPECT_EQ(nextRequest(m_listener).path, "/event");
    expectQuietEnd(*hook);
    expectNothingCleared(*expire(bash(R"(,"agent_id":"a")")));
}

TEST_F(StandingDialog, AnExpiredRequestIsWithdrawnWithItsDialog) {
    const auto hook = expire(bash());
    EXPECT_FALSE(hook->waitForExit(50ms));
    hook->sendSignal(SIGTERM);
    expectCleared(*hook);
}

TEST_F(StandingDialog, ARequestLeavesTheScreenWhenTheSessionsRecordHasItsAnswer) {
    const auto hook = start("permission", bash());
    auto connection = m_listener.accept();
    ASSERT_TRUE(connection && connection->readRequest());
    writeUse("1", "Bash", R"({"command":"ls"})");
    EXPECT_FALSE(hook->waitForExit(50ms));
    writeResult("1");
    expectQuietEnd(*hook);
    EXPECT_EQ(connection->waitForEnd(), LoopbackConnection::End::reset);
}

TEST_F(StandingDialog, TheSessionsRecordTellsNothingOfASubAgentsRequest) {
    const auto hook = start("permission", bash(R"(,"agent_id":"a")"));
    auto connection = m_listener.accept();
    ASSERT_TRUE(connection && connection->readRequest());
    writeUse("1", "Bash", R"({"command":"ls"})");
    EXPECT_FALSE(hook->waitForExit(50ms));
    writeResult("1");
    EXPECT_FALSE(hook->waitForExit(100ms));
    ASSERT_TRUE(connection->reply(R"({"decision":"deny"})"));
    EXPECT_EQ(hook->waitForExit(), exited(0));
    EXPECT_NE(hook->output(), "");
}

TEST_F(StandingDialog, WhatTheApplicationDoesNotShowHoldsNobodyUp) {
    const auto hook = start("permission", bash());
    auto connection = m_listener.accept();
    ASSERT_TRUE(connection && connection->readRequest());
    ASSERT_TRUE(connection->reply(R"({"decision":"ask","why":"filtered"})"));
    expectNothingCleared(*hook);
    EXPECT_EQ(posted("notify", std::string(genericNotice) + "}").path, "/event");
}

TEST_F(StandingDialog, AGenericNoticeDoesNotDisplaceWhatSaysMore) {
    const auto hook = ask();
    expectNothingCleared(*start("notify", std::string(genericNotice) + "}"));
    // Another notice is posted, and so is that of another session.
    const ReceivedRequest other =
        posted("notify", R"({"session_id":"s","message":"m","notification_type":"idle_prompt"})");
    EXPECT_EQ(jsonObject(other.body).value("message"), "m");
    const ReceivedRequest otherSession = posted(
        "notify",
        R"({"session_id":"t","message":"Claude needs your permission","notification_type":"permission_prompt"})");
    EXPECT_EQ(jsonObject(otherSession.body).value("session_id"), "t");
    hook->sendSignal(SIGTERM);
    expectCleared(*hook);
    EXPECT_EQ(posted("notify", std::string(genericNotice) + "}").path, "/event");
}

TEST_F(StandingDialog, NeitherDoesItDisplaceTheExpiredRequestOfASubAgent) {
    expectQuietEnd(*expire(bash(R"(,"agent_id":"a")")));
    expectNothingCleared(*start("notify", std::string(genericNotice) + "}"));
}

TEST_F(StandingDialog, AGenericNoticeIsPostedOnceTheSessionHasGoneOn) {
    for (const char* command : {"clear", "register", "unregister"}) {
        (void)posted("permission", "{" + members() + R"(,"agent_id":"a","tool_name":"AskUserQuestion"})");
        expectNothingCleared(*start("notify", std::string(genericNotice) + "}"));
        (void)posted(command, event("PostToolUse"));
        EXPECT_EQ(posted("notify", std::string(genericNotice) + "}").path, "/event");
    }
}

TEST_F(StandingDialog, AGenericNoticeSaysWhatTheSessionIsHeldUpBy) {
    const std::string notice = std::string(genericNotice) + R"(,"transcript_path":")" + recordPath() + "\"}";
    const auto message = [&] {
        return jsonObject(posted("notify", notice).body).value("message").toString();
    };
    EXPECT_EQ(message(), "Claude needs your permission");
    writeUse("1", "Bash", R"({"command":"curl -s\nhttp://127.0.0.1:9/"})");
    EXPECT_EQ(message(), "Claude wants to run: curl -s http://127.0.0.1:9/");
    // Which of the two is asked about is not known.
    writeUse("2", "Write", R"({"file_path":"/x"})");
    EXPECT_EQ(message(), "Claude needs your permission");
    writeResult("1");
    EXPECT_EQ(message(), "Claude wants to change: /x");
    // It may be a sub-agent that asks.
    std::filesystem::create_directories(m_directory.path() / "session" / "subagents");
    EXPECT_EQ(message(), "Claude needs your permission");
}

TEST_F(StandingDialog, ACliThatDecidesByItselfIsNotInterrupted) {
    const std::string turn = R"({"type":"turn_context","payload":{"approvals_reviewer":"auto_review"}})";
    const std::string settings = R"({"type":"event_msg","payload":{"thread_settings":{"approvals_reviewer":"user"}}})";
    const auto decide = [&] {
        return runHook({testedHelper(), "permission", "--source", "codex"}, bash(), m_listener.port());
    };
    write(turn + "\n");
    expectNothingCleared(*decide());
    write(settings + "\n" + R"({"type":"response_item","payload":{"approvals_reviewer":"auto_review"}})" + "\n");
    const auto hook = decide();
    EXPECT_EQ(nextRequest(m_listener).path, "/permission");
    expectQuietEnd(*hook);
    write(turn + "\n");
    expectNothingCleared(*decide());
}

} // namespace
} // namespace pelorin
