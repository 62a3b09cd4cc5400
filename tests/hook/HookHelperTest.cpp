#include "BeaconryBase/ProcessFacts.h"
#include "tests/hook/CapturedPayloads.h"
#include "tests/hook/HookProcess.h"
#include "tests/support/OtherUser.h"
#include "tests/support/Processes.h"
#include "tests/support/TestTerminal.h"

#include "BeaconryKit/service/EventServer.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <future>
#include <sys/wait.h>

// The helper as it was built, run as a real process against real sockets.
namespace pelorin {
namespace {

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using ::testing::MatchesRegex;

constexpr const char* allowAnswer =
    R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})";
constexpr const char* denyAnswer = R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                   R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})";

const std::pair<std::string, std::string> fireAndForgetCommands[] = {
    {"notify", "/event"}, {"clear", "/clear"}, {"register", "/register"}, {"unregister", "/unregister"}};

std::string bashRequest() {
    return capturedPayload("claude/tui/PermissionRequest.Bash.json");
}

struct Waiting {
    std::unique_ptr<TestProcess> hook;
    std::optional<LoopbackConnection> connection;
    ReceivedRequest request;
};

// A permission hook that has sent its request. Its input has not ended.
Waiting startWaiting(LoopbackListener& listener, const std::string& payload = bashRequest()) {
    Waiting waiting{startHook({testedHelper(), "permission"}, listener.port()), std::nullopt, {}};
    EXPECT_TRUE(waiting.hook->writeInput(payload));
    waiting.connection = listener.accept();
    EXPECT_TRUE(waiting.connection);
    const auto request = waiting.connection->readRequest();
    EXPECT_TRUE(request);
    waiting.request = request.value_or(ReceivedRequest());
    return waiting;
}

// What differs from run to run.
QJsonObject withoutProcesses(QJsonObject body) {
    for (const char* name : {"tty", "helper_process", "cli_process", "cli_start_time"})
        body.remove(QLatin1StringView(name));
    return body;
}

TEST(HookHelper, SendsAndLeavesThoughTheApplicationHangs) {
    for (const auto& [command, path] : fireAndForgetCommands) {
        SCOPED_TRACE(command);
        LoopbackListener listener;
        const auto hook =
            runHook({testedHelper(), command}, R"({"session_id":"s","cwd":"/c","extra":1})", listener.port());
        // Nobody has accepted the connection yet.
        expectQuietEnd(*hook);
        const ReceivedRequest request = nextRequest(listener);
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.path, path);
        EXPECT_EQ(request.headers.at("content-length"), std::to_string(request.body.size()));
        EXPECT_EQ(request.headers.count("origin"), 0U);
        EXPECT_EQ(withoutProcesses(jsonObject(request.body)),
                  (QJsonObject{{"session_id", "s"}, {"cwd", "/c"}, {"source", "claude"}, {"helper_version", 1}}));
    }
}

TEST(HookHelper, StaysUntilItsRequestHasBeenTaken) {
    for (const auto& [command, path] : fireAndForgetCommands) {
        LoopbackListener listener;
        const auto hook = runHook({testedHelper(), command}, R"({"session_id":"s"})", listener.port());
        auto connection = listener.accept();
        ASSERT_TRUE(connection);
        ASSERT_TRUE(connection->readRequest());
        EXPECT_EQ(connection->waitForEnd(50ms), std::nullopt) << command;
        connection->reply("ok");
        expectQuietEnd(*hook);
    }
}

/// The helper as a user of this number runs it.
std::vector<std::string> asUser(uid_t user, const std::string& command) {
    const std::string number = std::to_string(user);
    return {"/usr/bin/setpriv", "--reuid=" + number, "--regid=" + number, "--clear-groups", testedHelper(), command};
}

TEST(HookHelper, SaysNothingToAnotherUsersApplication) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    std::optional<LoopbackListener> listener;
    {
        const AsOtherUser user;
        listener.emplace();
    }
    for (const std::string command : {"notify", "permission"}) {
        const auto hook = runHook(asUser(otherUser + 1, command), bashRequest(), listener->port());
        expectQuietEnd(*hook);
        auto connection = listener->accept();
        ASSERT_TRUE(connection);
        EXPECT_FALSE(connection->readRequest()) << "not a byte came";
    }
    // To his own, and to root's, it speaks.
    const auto own = runHook(asUser(otherUser, "notify"), bashRequest(), listener->port());
    EXPECT_EQ(nextRequest(*listener).path, "/event");
    expectQuietEnd(*own);
    LoopbackListener ofRoot;
    const auto toRoot = runHook(asUser(otherUser, "notify"), bashRequest(), ofRoot.port());
    EXPECT_EQ(nextRequest(ofRoot).path, "/event");
    expectQuietEnd(*toRoot);
}

TEST(HookHelper, DoesNotWaitForTheEndOfItsInput) {
    for (const auto& [command, path] : fireAndForgetCommands) {
        LoopbackListener listener;
        const auto hook = startHook({testedHelper(), command}, listener.port());
        ASSERT_TRUE(hook->writeInput("{\"session_id\":\"s\"}\n"));
        expectQuietEnd(*hook);
        EXPECT_EQ(nextRequest(listener).path, path);
    }
}

TEST(HookHelper, TakesInputThatComesInPieces) {
    LoopbackListener listener;
    const auto hook = startHook({testedHelper(), "notify"}, listener.port());
    // What follows the object finds nobody who reads it.
    const std::string payload = capturedPayload("claude/tui/Notification.idle_prompt.json");
    for (const char byte : payload.substr(0, payload.rfind('}') + 1))
        ASSERT_TRUE(hook->writeInput(std::string_view(&byte, 1)));
    expectQuietEnd(*hook);
    EXPECT_EQ(jsonObject(nextRequest(listener).body).value("message"), "Claude is waiting for your input");
}

TEST(HookHelper, LeavesSilentlyWhenItIsGivenNoObject) {
    for (const std::string input : {"", " ", "{", "[1]", "{\"session_id\":\"s\"", "{\"session_id\":\"s\",}", "\xff"}) {
        for (const std::string command : {"permission", "notify"}) {
            SCOPED_TRACE(command + " " + input);
            LoopbackListener listener;
            const auto hook = startHook({testedHelper(), command}, listener.port());
            // It may have left before it is given everything.
            hook->writeInput(input);
            hook->closeInput();
            expectQuietEnd(*hook);
            EXPECT_FALSE(listener.accept(0ms));
        }
    }
}

TEST(HookHelper, LeavesSilentlyWhenItsInputNeverBringsAnObject) {
    LoopbackListener listener;
    const auto hook = startHook({testedHelper(), "permission"}, listener.port());
    ASSERT_TRUE(hook->writeInput("{\"session_id\":"));
    expectQuietEnd(*hook);
    EXPECT_FALSE(listener.accept(0ms));
}

TEST(HookHelper, LeavesSilentlyWhenItsInputIsTooLarge) {
    LoopbackListener listener;
    const auto hook =
        runHook({testedHelper(), "permission"}, R"({"a":")" + std::string(16'500'000, 'x') + R"("})", listener.port());
    expectQuietEnd(*hook);
    EXPECT_FALSE(listener.accept(0ms));
}

TEST(HookHelper, LeavesSilentlyWhenMemoryRunsOut) {
    if (!memoryIsMeasurable && !std::getenv("PELORIN_HOOK_HELPER"))
        GTEST_SKIP() << "A sanitizer takes more addresses than any limit that could be set here.";
    LoopbackListener listener;
    // Enough for the program itself, but not for the payload.
    const std::string limited = "ulimit -v 2000; exec " + testedHelper() + " notify";
    const auto hook =
        runHook({"/bin/sh", "-c", limited}, R"({"a":")" + std::string(900'000, 'x') + R"("})", listener.port());
    expectQuietEnd(*hook);
    EXPECT_FALSE(listener.accept(0ms));
}

TEST(HookHelper, SurvivesALimitOnFiles) {
#if defined(__SANITIZE_THREAD__)
    if (!std::getenv("PELORIN_HOOK_HELPER"))
        GTEST_SKIP() << "The sanitizer itself writes a file before the helper begins.";
#endif
    LoopbackListener listener;
    // Its record of what waits is one.
    const std::string limited = "ulimit -f 0; exec " + testedHelper() + " permission";
    const auto hook = runHook({"/bin/sh", "-c", limited}, bashRequest(), listener.port());
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->readRequest());
    connection->reply(R"({"decision":"allow"})");
    expectQuietEnd(*hook, allowAnswer);
}

TEST(HookHelper, SendsALargeRequestWhole) {
    LoopbackListener listener;
    const std::string content(900'000, 'x');
    const auto hook = startHook({testedHelper(), "permission"}, listener.port());
    ASSERT_TRUE(
        hook->writeInput(R"({"session_id":"s","tool_name":"Write","tool_input":{"content":")" + content + R"("}})"));
    auto connection = listener.accept();
    ASSERT_TRUE(connection);
    const auto request = connection->readRequest();
    ASSERT_TRUE(request);
    EXPECT_EQ(jsonObject(request->body).value("tool_input").toObject().value("content").toString().toStdString(),
              content);
    ASSERT_TRUE(connection->reply(R"({"decision":"allow"})"));
    expectQuietEnd(*hook, allowAnswer);
}

TEST(HookHelper, LeavesSilentlyWhenTheApplicationDoesNotRun) {
    const RefusingPort port;
    for (const std::string command : {"permission", "notify", "clear", "register", "unregister"}) {
        SCOPED_TRACE(command);
        const auto hook = startHook({testedHelper(), command}, port.port());
        ASSERT_TRUE(hook->writeInput(bashRequest()));
        expectQuietEnd(*hook);
    }
}

TEST(HookHelper, LeavesSilentlyWhenItIsUsedWrongly) {
    const std::vector<std::vector<std::string>> table = {{},
                                                         {"help"},
                                                         {"--help"},
                                                         {"notify", "extra"},
                                                         {"notify", "--source"},
                                                         {"permission", "--source", "unheard-of"}};
    for (const auto& arguments : table) {
        LoopbackListener listener;
        std::vector<std::string> command = {testedHelper()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto hook = startHook(command, listener.port());
        hook->writeInput(bashRequest());
        expectQuietEnd(*hook);
        EXPECT_FALSE(listener.accept(0ms));
    }
}

TEST(HookHelper, LeavesSilentlyWithoutInputOrOutput) {
    LoopbackListener listener;
    for (const std::string redirection : {"<&-", "<&- >&- 2>&-"}) {
        const auto hook =
            startHook({"/bin/sh", "-c", "exec \"$0\" notify " + redirection, testedHelper()}, listener.port());
        expectQuietEnd(*hook);
        EXPECT_FALSE(listener.accept(0ms));
    }
    const auto hook = startHook({"/bin/sh", "-c", "exec \"$0\" notify >&- 2>&-", testedHelper()}, listener.port());
    ASSERT_TRUE(hook->writeInput("{\"session_id\":\"s\"}"));
    expectQuietEnd(*hook);
    EXPECT_EQ(nextRequest(listener).path, "/event");
}

TEST(HookHelper, BringsBackTheDecision) {
    const std::pair<std::string, std::string> table[] = {
        {R"({"decision":"allow"})", allowAnswer},
        {R"({"decision":"deny"})", denyAnswer},
        {R"({"decision":"ask"})", ""},
        {R"({"decision":"ask","why":"filtered"})", ""},
    };
    for (const auto& [reply, answer] : table) {
        SCOPED_TRACE(reply);
        LoopbackListener listener;
        Waiting waiting = startWaiting(listener);
        EXPECT_EQ(waiting.request.path, "/permission");
        ASSERT_TRUE(waiting.connection->reply(reply));
        expectQuietEnd(*waiting.hook, answer);
    }
}

TEST(HookHelper, BringsBackADecisionThatComesInPieces) {
    LoopbackListener listener;
    Waiting waiting = startWaiting(listener);
    for (const char byte : std::string("HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n{\"decision\":\"allow\"}"))
        ASSERT_TRUE(waiting.connection->send(std::string_view(&byte, 1)));
    // The whole reply has come, so that the end of the connection does not matter.
    expectQuietEnd(*waiting.hook, allowAnswer);
}

TEST(HookHelper, TakesAGarbledReplyForNone) {
    const std::string_view replies[] = {
        "",
        "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n{\"decision\":\"al",
        "HTTP/1.1 200 OK\r\nContent-Length: 200\r\n\r\n{\"decision\":\"allow\"}",
        "HTTP/1.1 200 OK\r\nContent-Le",
        "HTTP/1.1 500 Oops\r\nContent-Length: 20\r\n\r\n{\"decision\":\"allow\"}",
        "{\"decision\":\"allow\"}",
        "\xff\xfe\0\x01 garbage {\"decision\":\"allow\"}\r\n\r\n"sv,
        "HTTP/1.1 200 OK\r\nContent-Length: 22\r\n\r\n{\"decision\":\"allow\"}}}",
    };
    for (const std::string_view reply : replies) {
        SCOPED_TRACE(reply);
        LoopbackListener listener;
        Waiting waiting = startWaiting(listener);
        ASSERT_TRUE(waiting.connection->send(reply));
        waiting.connection->close();
        expectQuietEnd(*waiting.hook);
    }
}

TEST(HookHelper, LeavesSilentlyWhenTheConnectionIsReset) {
    for (const std::string_view reply : {"", "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n{\"decision\":\"allow\""}) {
        LoopbackListener listener;
        Waiting waiting = startWaiting(listener);
        ASSERT_TRUE(waiting.connection->send(reply));
        waiting.connection->reset();
        expectQuietEnd(*waiting.hook);
    }
}

// The process that holds both the listener and the connection dies without a chance to say goodbye.
TEST(HookHelper, LeavesSilentlyWhenTheApplicationIsKilled) {
    LoopbackListener listener;
    const auto hook = startHook({testedHelper(), "permission"}, listener.port());
    int notice[2] = {};
    ASSERT_EQ(pipe(notice), 0);
    const TestDescriptor reading(notice[0]);
    TestDescriptor writing(notice[1]);
    const pid_t application = fork();
    ASSERT_GE(application, 0);
    if (application == 0) {
        auto connection = listener.accept();
        const bool hasRequest = connection && connection->readRequest();
        if (write(writing.get(), hasRequest ? "1" : "0", 1) == 1)
            pause();
        _exit(0);
    }
    listener.close();
    writing.close();
    EXPECT_TRUE(hook->writeInput(bashRequest()));
    char hasRequest = 0;
    EXPECT_EQ(read(reading.get(), &hasRequest, 1), 1);
    EXPECT_EQ(hasRequest, '1');
    kill(application, SIGKILL);
    EXPECT_EQ(waitpid(application, nullptr, 0), application);
    expectQuietEnd(*hook);
}

TEST(HookHelper, ResetsItsConnectionWhenItIsToldToStop) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(signal);
        LoopbackListener listener;
        Waiting waiting = startWaiting(listener);
        ASSERT_TRUE(waiting.hook->sendSignal(signal));
        expectQuietEnd(*waiting.hook);
        EXPECT_EQ(waiting.connection->waitForEnd(), LoopbackConnection::End::reset);
    }
}

TEST(HookHelper, ResetsItsConnectionEvenWhenItIsKilled) {
    LoopbackListener listener;
    Waiting waiting = startWaiting(listener);
    ASSERT_TRUE(waiting.hook->sendSignal(SIGKILL));
    EXPECT_EQ(waiting.hook->waitForExit(), killedBy(SIGKILL));
    EXPECT_EQ(waiting.connection->waitForEnd(), LoopbackConnection::End::reset);
}

// A CLI that is killed takes its end of the hook's output with it, and sends no signal.
TEST(HookHelper, LeavesWhenTheCliHasGone) {
    LoopbackListener listener;
    Waiting waiting = startWaiting(listener);
    waiting.hook->closeOutput();
    EXPECT_EQ(waiting.hook->waitForExit(), exited(0));
    EXPECT_EQ(waiting.connection->waitForEnd(), LoopbackConnection::End::reset);
}

TEST(HookHelper, StopsWhileItStillReads) {
    LoopbackListener listener;
    const auto hook = startHook({testedHelper(), "notify"}, listener.port());
    // So much fits into no socket's buffers: when it is written, the helper is there and reads.
    ASSERT_TRUE(hook->writeInput(R"({"session_id":")" + std::string(800'000, 'x')));
    ASSERT_TRUE(hook->sendSignal(SIGTERM));
    expectQuietEnd(*hook);
}

TEST(HookHelper, AllowsAPlanWithItsInput) {
    LoopbackListener listener;
    Waiting waiting = startWaiting(listener, capturedPayload("claude/tui/PermissionRequest.ExitPlanMode.plan.json"));
    ASSERT_TRUE(waiting.connection->reply(R"({"decision":"allow"})"));
    expectQuietEnd(*waiting.hook,
                   R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow",)"
                   R"("updatedInput":{"plan":"# Plan: greet\n\n1. Create `greet.txt`\n2. Say hello\n",)"
                   R"("planFilePath":"/home/user/.claude/plans/wise-skipping-riddle.md"}}}})");
}

TEST(HookHelper, PrintsAnAnswerThatIsLargerThanWhatTheOutputHolds) {
    LoopbackListener listener;
    const std::string input = R"({"plan":")" + std::string(900'000, 'x') + R"("})";
    Waiting waiting =
        startWaiting(listener, R"({"session_id":"s","tool_name":"ExitPlanMode","tool_input":)" + input + "}");
    ASSERT_TRUE(waiting.connection->reply(R"({"decision":"allow"})"));
    expectQuietEnd(*waiting.hook, R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                  R"("decision":{"behavior":"allow","updatedInput":)" +
                                      input + "}}}");
}

TEST(HookHelper, LeavesAQuestionToTheTerminalAtOnce) {
    LoopbackListener listener;
    const auto hook = startHook({testedHelper(), "permission"}, listener.port());
    ASSERT_TRUE(hook->writeInput(capturedPayload("claude/tui/PermissionRequest.AskUserQuestion.json")));
    expectQuietEnd(*hook);
    const ReceivedRequest request = nextRequest(listener);
    EXPECT_EQ(request.path, "/event");
    const QJsonObject body = jsonObject(request.body);
    EXPECT_EQ(body.value("notification_type"), "elicitation");
    EXPECT_EQ(body.value("message"), "Which colour should the button be? / Which features do you want?");
    EXPECT_FALSE(body.contains("request_id"));
}

TEST(HookHelper, GivesEveryRequestAnIdOfItsOwn) {
    LoopbackListener listener;
    QStringList ids;
    for (int count = 0; count < 3; ++count) {
        Waiting waiting = startWaiting(listener);
        const QString id = jsonObject(waiting.request.body).value("request_id").toString();
        EXPECT_THAT(id.toStdString(), MatchesRegex("[0-9a-f]{32}"));
        EXPECT_FALSE(ids.contains(id));
        ids.append(id);
    }
}

TEST(HookHelper, TellsOfItsEnvironment) {
    LoopbackListener listener;
    const auto hook = runHook(
        {testedHelper(), "register", "--source", "gemini"}, R"({"session_id":"s","source":"startup"})", listener.port(),
        {"TERM_PROGRAM=ghostty", "TMUX_PANE=%4", "TMUX=/tmp/tmux-7/work,home,4217,0", "WEZTERM_PANE=5",
         "KITTY_WINDOW_ID=6", "PELORIN_LABEL=api \"x\"\n\xff", "PELORIN_OPT_IN=1"});
    expectQuietEnd(*hook);
    const QJsonObject body = withoutProcesses(jsonObject(nextRequest(listener).body));
    EXPECT_EQ(body, (QJsonObject{{"session_id", "s"},
                                 {"helper_version", 1},
                                 {"tmux_server", "/tmp/tmux-7/work,home"},
                                 {"source", "gemini"},
                                 {"term_program", "ghostty"},
                                 {"tmux_pane", "%4"},
                                 {"wezterm_pane", "5"},
                                 {"kitty_window_id", "6"},
                                 {"label", QString("api \"x\"\n") + QChar(QChar::ReplacementCharacter)},
                                 {"opt_in", true}}));
}

TEST(HookHelper, LeavesOutWhatIsEmpty) {
    LoopbackListener listener;
    const auto hook = runHook({testedHelper(), "register"}, R"({"session_id":"s"})", listener.port(),
                              {"TERM_PROGRAM=", "TMUX_PANE=", "TMUX=", "WEZTERM_PANE=", "KITTY_WINDOW_ID=",
                               "PELORIN_LABEL=", "PELORIN_OPT_IN=", "CLAUDE_PID="});
    expectQuietEnd(*hook);
    const QJsonObject body = withoutProcesses(jsonObject(nextRequest(listener).body));
    EXPECT_EQ(body, (QJsonObject{{"session_id", "s"}, {"source", "claude"}, {"helper_version", 1}}));
}

// A process that has a terminal, like a CLI.
std::unique_ptr<TestProcess> startOnTerminal(const TestTerminal& terminal, const std::vector<std::string>& command,
                                             const std::vector<std::string>& environment) {
    auto child = TestProcess::start(
        {.command = command, .environment = environment, .controllingTerminal = terminal.devicePath()});
    EXPECT_TRUE(child);
    return child;
}

std::unique_ptr<TestProcess> startIdleOnTerminal(const TestTerminal& terminal) {
    auto child = startOnTerminal(terminal, {"/bin/sh", "-c", "echo ready; read line"}, {});
    EXPECT_TRUE(child->waitForOutput([](const std::string& output) { return output == "ready\n"; }));
    return child;
}

// The hook is started below a shell that has the terminal, in a session of its own.
QString terminalFoundBelow(const TestTerminal& terminal, const std::vector<std::string>& environment) {
    LoopbackListener listener;
    std::vector<std::string> whole = environment;
    whole.push_back("PATH=/usr/bin:/bin");
    whole.push_back("BEACONRY_PORT=" + std::to_string(listener.port()));
    const auto shell = startOnTerminal(
        terminal, {"/bin/sh", "-c", "setsid sh -c '\"$0\" notify; :' \"$0\"; :", testedHelper()}, whole);
    EXPECT_TRUE(shell->writeInput("{\"session_id\":\"s\"}"));
    expectQuietEnd(*shell);
    return jsonObject(nextRequest(listener).body).value("tty").toString();
}

// The server of all sessions may have been started from another session's terminal.
TEST(HookHelper, TrustsTheEnvironmentOfAServerOnlyBelowATerminal) {
    const std::vector<std::string> environment = {"TERM_PROGRAM=ghostty", "TMUX_PANE=%4",      "WEZTERM_PANE=5",
                                                  "KITTY_WINDOW_ID=6",    "PELORIN_LABEL=api", "PELORIN_OPT_IN=1"};
    LoopbackListener listener;
    // A shell whose parent has ended has none of the test's own terminal.
    const auto hook = runHook({"/usr/bin/setsid", "--fork", testedHelper(), "register", "--source", "codex"},
                              R"({"session_id":"s","cwd":"/c"})", listener.port(), environment);
    const QJsonObject told = jsonObject(nextRequest(listener).body);
    EXPECT_FALSE(told.contains("cli_process"));
    EXPECT_EQ(withoutProcesses(told),
              (QJsonObject{{"session_id", "s"}, {"cwd", "/c"}, {"source", "codex"}, {"helper_version", 1}}));
    EXPECT_EQ(hook->waitForExit(), exited(0));

    const TestTerminal terminal;
    std::vector<std::string> whole = environment;
    whole.insert(whole.end(), {"PATH=/usr/bin:/bin", "BEACONRY_PORT=" + std::to_string(listener.port())});
    const auto shell =
        startOnTerminal(terminal, {"/bin/sh", "-c", "\"$0\" register --source codex; :", testedHelper()}, whole);
    EXPECT_TRUE(shell->writeInput("{\"session_id\":\"s\"}"));
    expectQuietEnd(*shell);
    const QJsonObject body = jsonObject(nextRequest(listener).body);
    EXPECT_EQ(body["tty"].toString().toStdString(), terminal.name());
    EXPECT_EQ(body["tmux_pane"], "%4");
    EXPECT_EQ(body["label"], "api");
    EXPECT_EQ(body["opt_in"], true);
}

TEST(HookHelper, TellsItsOwnProcessAndTheClis) {
    const TestTerminal terminal;
    LoopbackListener listener;
    // The shell is the CLI here: its hooks run in a session of their own.
    const auto cli =
        startOnTerminal(terminal, {"/bin/sh", "-c", "setsid sh -c '\"$0\" notify; :' \"$0\"; :", testedHelper()},
                        {"PATH=/usr/bin:/bin", "BEACONRY_PORT=" + std::to_string(listener.port()), "CLAUDE_PID=1"});
    EXPECT_TRUE(cli->writeInput("{\"session_id\":\"s\"}"));
    const auto facts = lookUpProcess(cli->processId());
    ASSERT_TRUE(facts);
    const QJsonObject body = jsonObject(nextRequest(listener).body);
    EXPECT_EQ(body.value("cli_process").toInteger(), cli->processId());
    EXPECT_EQ(body.value("cli_start_time").toString().toULongLong(), facts->startTime);
    EXPECT_GT(body.value("helper_process").toInteger(), cli->processId());
    EXPECT_EQ(cli->waitForExit(), exited(0));
}

TEST(HookHelper, FindsTheTerminalUpTheParents) {
    const TestTerminal terminal;
    EXPECT_EQ(terminalFoundBelow(terminal, {}).toStdString(), terminal.name());
}

TEST(HookHelper, FindsTheTerminalOfTheCliByItsProcessId) {
    const TestTerminal terminal;
    const auto cli = startIdleOnTerminal(terminal);
    LoopbackListener listener;
    const auto hook = runHook({testedHelper(), "notify"}, R"({"session_id":"s"})", listener.port(),
                              {"CLAUDE_PID=" + std::to_string(cli->processId())});
    expectQuietEnd(*hook);
    EXPECT_EQ(jsonObject(nextRequest(listener).body).value("tty").toString().toStdString(), terminal.name());
}

TEST(HookHelper, PrefersTheTerminalOfTheCli) {
    const TestTerminal above;
    const TestTerminal terminal;
    const auto cli = startIdleOnTerminal(terminal);
    EXPECT_EQ(terminalFoundBelow(above, {"CLAUDE_PID=" + std::to_string(cli->processId())}).toStdString(),
              terminal.name());
}

TEST(HookHelper, SearchesTheParentsWhenTheCliHasNoTerminal) {
    const TestTerminal terminal;
    const auto withoutTerminal = TestProcess::start({.command = {"/bin/sh", "-c", "read line"}, .environment = {}});
    ASSERT_TRUE(withoutTerminal);
    for (const std::string& id :
         {std::to_string(withoutTerminal->processId()), std::string("2147483647"), std::string("junk")})
        EXPECT_EQ(terminalFoundBelow(terminal, {"CLAUDE_PID=" + id}).toStdString(), terminal.name()) << id;
}

// Against the application's own server.
class HookHelperWithServer : public testing::Test {
protected:
    struct Received {
        QByteArray path;
        QByteArray body;
        WaitingHook hook;
    };

    void SetUp() override { ASSERT_FALSE(m_server.start()); }

    Received waitForRequest() {
        auto future = m_received.get_future();
        EXPECT_EQ(future.wait_for(patience), std::future_status::ready);
        return future.get();
    }

    std::uint16_t port() const { return m_server.port(); }

private:
    std::promise<Received> m_received;
    EventServer m_server{0, true, [this](const QByteArray& path, const QByteArray& body, const WaitingHook& hook) {
                             m_received.set_value({path, body, hook});
                         }};
};

TEST_F(HookHelperWithServer, IsUnderstoodAndUnderstands) {
    const auto hook = startHook({testedHelper(), "permission"}, port());
    ASSERT_TRUE(hook->writeInput(bashRequest()));
    const Received received = waitForRequest();
    EXPECT_EQ(received.path, "/permission");
    EXPECT_EQ(jsonObject(received.body.toStdString()).value("tool_name"), "Bash");
    received.hook.respond(R"({"decision":"allow"})");
    expectQuietEnd(*hook, allowAnswer);
}

TEST_F(HookHelperWithServer, IsNotServedWhenItIsAnotherUsers) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    const auto foreign = runHook(asUser(otherUser, "permission"), bashRequest(), port());
    expectQuietEnd(*foreign);
    const auto own = startHook({testedHelper(), "notify"}, port());
    ASSERT_TRUE(own->writeInput(bashRequest()));
    const Received received = waitForRequest();
    EXPECT_EQ(received.path, "/event");
    received.hook.respond("ok");
    expectQuietEnd(*own);
}

TEST_F(HookHelperWithServer, IsSeenToHaveGoneWhenItIsStopped) {
    const auto hook = startHook({testedHelper(), "permission"}, port());
    ASSERT_TRUE(hook->writeInput(bashRequest()));
    const Received received = waitForRequest();
    std::promise<void> gone;
    received.hook.whenGone([&] { gone.set_value(); });
    ASSERT_TRUE(hook->sendSignal(SIGTERM));
    EXPECT_EQ(gone.get_future().wait_for(patience), std::future_status::ready);
    expectQuietEnd(*hook);
}

} // namespace
} // namespace pelorin
