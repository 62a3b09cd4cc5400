#include "BeaconryHook/WaitingRecords.h"

#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <QJsonDocument>
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

// Helpers that wait, and that are found and ended by later hooks of their sessions.
namespace pelorin {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* allowAnswer =
    R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})";

std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string payload(const std::string& event, const std::string& command, const std::string& more = {}) {
    return R"({"session_id":"s 1","hook_event_name":")" + event + R"(","tool_name":"Bash","tool_input":{"command":")" +
           command + "\"}" + more + "}";
}

std::string request(const std::string& command, const std::string& more = {}) {
    return payload("PermissionRequest", command, more);
}

struct Waiting {
    std::unique_ptr<TestProcess> hook;
    std::optional<LoopbackConnection> connection;
};

class WaitingRecords : public testing::Test {
protected:
    std::string runtime() const { return "XDG_RUNTIME_DIR=" + m_runtime.path().string(); }
    fs::path directory() const { return m_runtime.path() / "pelorin"; }
    LoopbackListener& listener() { return m_listener; }

    std::vector<fs::path> records() const {
        std::vector<fs::path> found;
        if (fs::exists(directory())) {
            for (const auto& entry : fs::directory_iterator(directory()))
                found.push_back(entry.path());
        }
        return found;
    }

    Waiting wait(const std::string& text, const std::string& helper = testedHelper(),
                 std::vector<std::string> environment = {}) {
        environment.push_back(runtime());
        Waiting waiting{startHook({helper, "permission"}, m_listener.port(), environment), std::nullopt};
        EXPECT_TRUE(waiting.hook->writeInput(text));
        waiting.connection = m_listener.accept();
        EXPECT_TRUE(waiting.connection && waiting.connection->readRequest());
        return waiting;
    }

    // A hook of the session, while the application may or may not be there.
    void happen(const std::string& command, const std::string& text, std::vector<std::string> environment = {}) {
        environment.push_back(runtime());
        const RefusingPort nobody;
        expectQuietEnd(*runHook({testedHelper(), command}, text, nobody.port(), environment));
    }

    static void expectEnded(Waiting& waiting) {
        expectQuietEnd(*waiting.hook);
        EXPECT_EQ(waiting.connection->waitForEnd(), LoopbackConnection::End::reset);
    }

    static void expectStillWaiting(Waiting& waiting) {
        ASSERT_TRUE(waiting.connection->reply(R"({"decision":"allow"})"));
        expectQuietEnd(*waiting.hook, allowAnswer);
    }

private:
    TemporaryDirectory m_runtime;
    LoopbackListener m_listener;
};

TEST_F(WaitingRecords, AreKeptFromOthersAndTellNoInput) {
    Waiting waiting = wait(request("secret word"));
    ASSERT_THAT(records(), SizeIs(1));
    struct stat status {};
    ASSERT_EQ(lstat(records()[0].c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
    ASSERT_EQ(lstat(directory().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
    const std::string text = textOf(records()[0]);
    QJsonObject record = jsonObject(text);
    EXPECT_EQ(record["pid"].toInt(), waiting.hook->processId());
    EXPECT_GT(record["start"].toDouble(), 0);
    EXPECT_EQ(record["session_id"], "s 1");
    EXPECT_EQ(record["tool_name"], "Bash");
    EXPECT_EQ(record["agent_id"], "");
    EXPECT_EQ(record["input_digest"].toString().size(), 64);
    EXPECT_EQ(record["origin"].toString().toStdString(), "claude " + testedHelper());
    EXPECT_EQ(text.find("secret"), std::string::npos);
    expectStillWaiting(waiting);
}

TEST_F(WaitingRecords, GoWithTheirHelpers) {
    const std::function<void(Waiting&)> ends[] = {
        [](Waiting& waiting) { waiting.connection->reply(R"({"decision":"ask"})"); },
        [](Waiting& waiting) { waiting.connection->reset(); },
        [](Waiting& waiting) { waiting.hook->sendSignal(SIGTERM); },
        [](Waiting& waiting) { waiting.hook->sendSignal(SIGHUP); },
    };
    for (const auto& end : ends) {
        Waiting waiting = wait(request("x"));
        EXPECT_THAT(records(), SizeIs(1));
        end(waiting);
        expectQuietEnd(*waiting.hook);
        EXPECT_THAT(records(), IsEmpty());
    }
    Waiting waiting = wait(request("x"));
    waiting.hook->closeOutput();
    EXPECT_EQ(waiting.hook->waitForExit(), exited(0));
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(WaitingRecords, AreNotMadeForWhatDoesNotWait) {
    expectQuietEnd(*runHook({testedHelper(), "permission"},
                            capturedPayload("claude/tui/PermissionRequest.AskUserQuestion.json"), listener().port(),
                            {runtime()}));
    expectQuietEnd(*runHook({testedHelper(), "notify"}, request("x"), listener().port(), {runtime()}));
    EXPECT_THAT(records(), IsEmpty());
}

// The user has said yes in the terminal: the tool has been used.
TEST_F(WaitingRecords, TellTheWaitingCallsOfASessionApart) {
    for (const std::string event : {"PostToolUse", "PostToolUseFailure"}) {
        Waiting first = wait(request("first"));
        Waiting second = wait(request("second"));
        Waiting third = wait(request("third"));
        happen("clear", payload(event, "second", R"(,"tool_response":{},"tool_use_id":"t")"));
        expectEnded(second);
        expectStillWaiting(first);
        expectStillWaiting(third);
        EXPECT_THAT(records(), IsEmpty());
    }
}

TEST_F(WaitingRecords, EndWithTheCallThatClaudeCodeTellsOf) {
    Waiting waiting = wait(capturedPayload("claude/print/PermissionRequest.Bash.generalpurpose.json"));
    happen("clear", capturedPayload("claude/print/PostToolUse.Bash.json"));
    happen("clear", capturedPayload("claude/print/PostToolUse.Bash.generalpurpose.json"));
    expectEnded(waiting);
}

TEST_F(WaitingRecords, OutliveTheCallsOfOthers) {
    Waiting waiting = wait(request("x"));
    happen("clear", payload("PostToolUse", "y"));
    happen("clear", payload("PostToolUse", "x", R"(,"agent_id":"a")"));
    happen("clear",
           R"({"session_id":"s 2","hook_event_name":"PostToolUse","tool_name":"Bash","tool_input":{"command":"x"}})");
    happen("clear", R"({"session_id":"s 2","hook_event_name":"Stop"})");
    happen("clear", R"({"session_id":"s 1","hook_event_name":"Notification"})");
    happen("notify", R"({"session_id":"s 1","hook_event_name":"Stop"})");
    expectStillWaiting(waiting);
}

TEST_F(WaitingRecords, EndWithTheTurn) {
    for (const std::string event : {"Stop", "UserPromptSubmit"}) {
        Waiting first = wait(request("first"));
        Waiting second = wait(request("second"));
        Waiting ofAgent = wait(request("third", R"(,"agent_id":"a","agent_type":"general-purpose")"));
        happen("clear", R"({"session_id":"s 1","hook_event_name":")" + event + "\"}");
        expectEnded(first);
        expectEnded(second);
        // A sub-agent may go on in the background, and the CLI shows no dialog of its own for it meanwhile.
        expectStillWaiting(ofAgent);
    }
}

TEST_F(WaitingRecords, AllEndWithTheSession) {
    Waiting own = wait(request("first"));
    Waiting ofAgent = wait(request("second", R"(,"agent_id":"a")"));
    happen("unregister", R"({"session_id":"s 1","hook_event_name":"SessionEnd"})");
    expectEnded(own);
    expectEnded(ofAgent);
}

// Two calls of one tool with one input, at once: the CLI asks for one after the other.
TEST_F(WaitingRecords, EndOneOfTwoThatAreAlike) {
    Waiting first = wait(request("x"));
    Waiting second = wait(request("x"));
    EXPECT_THAT(records(), SizeIs(2));
    happen("clear", payload("PostToolUse", "x"));
    expectEnded(first);
    happen("clear", payload("PostToolUse", "x"));
    expectEnded(second);
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(WaitingRecords, MakeARequestThatComesTwiceShowOnce) {
    const TemporaryDirectory elsewhere;
    const fs::path other = elsewhere.path() / "pelorin-hook";
    fs::copy(testedHelper(), other);
    Waiting waiting = wait(request("x"));
    expectQuietEnd(*runHook({other, "permission"}, request("x"), listener().port(), {runtime()}));
    auto connection = listener().accept();
    ASSERT_TRUE(connection);
    EXPECT_FALSE(connection->readRequest(0ms));
    EXPECT_EQ(connection->waitForEnd(), LoopbackConnection::End::closed);
    // Another request by that way is another request.
    Waiting second = wait(request("y"), other);
    expectStillWaiting(second);
    expectStillWaiting(waiting);
    EXPECT_THAT(records(), IsEmpty());
    Waiting third = wait(request("x"), other);
    expectStillWaiting(third);
}

TEST_F(WaitingRecords, OfHelpersThatWereKilledAreRemoved) {
    Waiting waiting = wait(request("x"));
    waiting.hook->sendSignal(SIGKILL);
    EXPECT_EQ(waiting.hook->waitForExit(), killedBy(SIGKILL));
    EXPECT_THAT(records(), SizeIs(1));
    // A new request of the same kind is not taken for a double of what has gone.
    const TemporaryDirectory elsewhere;
    fs::copy(testedHelper(), elsewhere.path() / "pelorin-hook");
    Waiting next = wait(request("x"), elsewhere.path() / "pelorin-hook");
    EXPECT_THAT(records(), SizeIs(1));
    next.hook->sendSignal(SIGKILL);
    EXPECT_EQ(next.hook->waitForExit(), killedBy(SIGKILL));
    happen("clear", R"({"session_id":"s 1","hook_event_name":"Stop"})");
    EXPECT_THAT(records(), IsEmpty());
}

// The helper has gone, and the system has given its id to somebody else.
TEST_F(WaitingRecords, NeverEndAnotherProcess) {
    const auto bystander = TestProcess::start({.command = {"/bin/sh", "-c", "read line; echo $line"}});
    ASSERT_TRUE(bystander);
    Waiting waiting = wait(request("x"));
    const fs::path path = records().at(0);
    QJsonObject record = jsonObject(textOf(path));
    expectStillWaiting(waiting);
    record["pid"] = bystander->processId();
    for (const QJsonValue& start :
         std::initializer_list<QJsonValue>{record["start"].toDouble() + 1e6, 0, "text", 1e300}) {
        record["start"] = start;
        std::ofstream(path) << QJsonDocument(record).toJson().toStdString();
        happen("clear", payload("PostToolUse", "x"));
        EXPECT_FALSE(fs::exists(path));
    }
    ASSERT_TRUE(bystander->writeInput("alive\n"));
    EXPECT_EQ(bystander->waitForExit(), exited(0));
    EXPECT_EQ(bystander->output(), "alive\n");
}

TEST_F(WaitingRecords, AreNotBelievedWhenTheyAreGarbage) {
    Waiting waiting = wait(request("x"));
    const fs::path secret = directory().parent_path() / "secret";
    std::ofstream(secret) << textOf(records().at(0));
    std::ofstream(directory() / "waiting-empty");
    std::ofstream(directory() / "waiting-garbage") << std::string(100'000, '{');
    std::ofstream(directory() / "other") << "{}";
    fs::create_directory(directory() / "waiting-directory");
    fs::create_symlink(secret, directory() / "waiting-link");
    ASSERT_EQ(mkfifo((directory() / "waiting-pipe").c_str(), 0600), 0);
    happen("clear", payload("PostToolUse", "other"));
    expectStillWaiting(waiting);
    EXPECT_TRUE(fs::exists(directory() / "other"));
    EXPECT_TRUE(fs::exists(secret));
}

TEST_F(WaitingRecords, AreDoneWithoutWhereOthersCouldWriteThem) {
    fs::create_directory(directory());
    fs::permissions(directory(), fs::perms::all);
    Waiting waiting = wait(request("x"));
    EXPECT_THAT(records(), IsEmpty());
    happen("clear", payload("PostToolUse", "x"));
    expectStillWaiting(waiting);
}

TEST_F(WaitingRecords, StandInTheTemporaryDirectoryWhereThereIsNoOther) {
    const TemporaryDirectory temporary;
    const fs::path own = temporary.path() / ("pelorin-" + std::to_string(geteuid()));
    const std::vector<std::string> environment = {"XDG_RUNTIME_DIR=", "TMPDIR=" + temporary.path().string()};
    Waiting waiting = wait(request("x"), testedHelper(), environment);
    struct stat status {};
    ASSERT_EQ(lstat(own.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
    EXPECT_EQ(std::distance(fs::directory_iterator(own), {}), 1);
    happen("clear", payload("PostToolUse", "x"), environment);
    expectEnded(waiting);
    EXPECT_EQ(std::distance(fs::directory_iterator(own), {}), 0);
}

TEST(RecordDirectory, IsOnlyOneOfTheUsersOwn) {
    const TemporaryDirectory temporary;
    const std::string path = temporary.path();
    EXPECT_EQ(hook::recordDirectory(path, "/nowhere"), path + "/pelorin");
    EXPECT_EQ(hook::recordDirectory("", path), path + "/pelorin-" + std::to_string(geteuid()));
    EXPECT_EQ(hook::recordDirectory("relative", path), path + "/pelorin-" + std::to_string(geteuid()));
    EXPECT_EQ(hook::recordDirectory("/no/such/directory", path), "");
    fs::remove(path + "/pelorin");
    std::ofstream(path + "/pelorin") << "";
    EXPECT_EQ(hook::recordDirectory(path, ""), "");
    fs::remove(path + "/pelorin");
    fs::create_directory(path + "/real");
    fs::permissions(path + "/real", fs::perms::owner_all);
    fs::create_directory_symlink("real", path + "/pelorin");
    EXPECT_EQ(hook::recordDirectory(path, ""), "");
}

} // namespace
} // namespace pelorin
