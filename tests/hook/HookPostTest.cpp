#include "BeaconryHook/HookPost.h"

#include "BeaconryBase/ObjectScanner.h"
#include "tests/hook/CapturedPayloads.h"

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/service/RequestFraming.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

using namespace std::string_literals;

struct Post {
    std::string path;
    std::string body;
    HookPost::Reply reply;
};

// What the application would find in the planned request.
std::optional<Post> plan(const HookCall& call, std::string_view payload, const HookEnvironment& environment,
                         const SessionStart& start = {}) {
    const auto planned =
        planPost(call, adapterFor(call.source), readPayload(payload), environment, "0123456789abcdef", start);
    if (!planned)
        return std::nullopt;
    RequestFraming framing;
    if (framing.append(QByteArray::fromStdString(planned->request)) != RequestFraming::Progress::complete)
        return std::nullopt;
    const HookRequest request = framing.takeRequest();
    return Post{request.path.toStdString(), request.body.toStdString(), planned->reply};
}

std::optional<Post> plan(Command command, std::string_view payload) {
    return plan({.command = command}, payload, {.source = "claude"});
}

QJsonObject parsed(const std::string& text) {
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(QByteArray::fromStdString(text), &error).object();
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text;
    return object;
}

TEST(ParseArguments, TakesTheFiveCommands) {
    const std::tuple<const char*, Command, std::string_view> table[] = {
        {"permission", Command::permission, "/permission"},
        {"notify", Command::notify, "/event"},
        {"clear", Command::clear, "/clear"},
        {"register", Command::registerSession, "/register"},
        {"unregister", Command::unregisterSession, "/unregister"},
    };
    for (const auto& [name, command, path] : table) {
        const auto call = parseArguments(1, &name);
        ASSERT_TRUE(call) << name;
        EXPECT_EQ(call->command, command);
        EXPECT_EQ(call->source, "claude");
        EXPECT_EQ(pathOf(command), path);
    }
}

TEST(ParseArguments, TakesASource) {
    const char* arguments[] = {"notify", "--source", "codex"};
    const auto call = parseArguments(3, arguments);
    ASSERT_TRUE(call);
    EXPECT_EQ(call->source, "codex");
}

TEST(ParseArguments, RefusesAnythingElse) {
    const std::vector<const char*> table[] = {
        {},
        {""},
        {"Notify"},
        {"--source", "codex"},
        {"notify", "--source"},
        {"notify", "--source", ""},
        {"notify", "codex"},
        {"notify", "--origin", "codex"},
        {"notify", "--source", "codex", "more"},
    };
    for (const auto& arguments : table)
        EXPECT_FALSE(parseArguments(static_cast<int>(arguments.size()), arguments.data()));
    EXPECT_FALSE(parseArguments(-1, nullptr));
}

TEST(PlanPost, ForwardsWhatTheApplicationReadsAndNothingElse) {
    const auto post = plan(Command::notify, R"({"session_id":"s","transcript_path":"/t","cwd":"/c","prompt_id":"p",
        "hook_event_name":"Notification","message":"m","notification_type":"idle_prompt","agent_type":"explorer",
        "tool_name":"Bash","tool_input":{"command":"ls"},"permission_suggestions":[{"type":"addRules"}]})");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->path, "/event");
    EXPECT_EQ(post->reply, HookPost::Reply::ignored);
    EXPECT_EQ(post->body, R"({"session_id":"s","cwd":"/c","message":"m","tool_name":"Bash",)"
                          R"("tool_input":{"command":"ls"},"notification_type":"idle_prompt",)"
                          R"("agent_type":"explorer","source":"claude"})");
}

TEST(PlanPost, ForwardsValuesAsTheyStand) {
    constexpr std::string_view input = R"({"a" : 1.50, "b":[ -0,1e5 ], "c":"\u00e9\/\"", "a":"twice"})";
    const auto post = plan(Command::permission, R"({"session_id":7,"tool_input":)" + std::string(input) + "}");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->body, R"({"session_id":7,"tool_input":)" + std::string(input) +
                              R"(,"source":"claude","request_id":"0123456789abcdef"})");
}

TEST(PlanPost, TakesTheLastOfMembersThatStandTwice) {
    const auto post = plan(Command::clear, R"({"session_id":"first","cwd":"/a","session\u005fid":"last"})");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->body, R"({"session_id":"last","cwd":"/a","source":"claude"})");
}

// Claude Code says in "source" how a session began; to the application it is the name of the CLI.
TEST(PlanPost, KeepsTheHelpersOwnMembersToItself) {
    const auto post = plan(Command::registerSession, R"({"session_id":"s","source":"startup","request_id":"forged",
        "tty":"pts/9","term_program":"x","tmux_pane":"%9","wezterm_pane":"9","kitty_window_id":"9","label":"x",
        "opt_in":true})");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->body, R"({"session_id":"s","source":"claude"})");
}

TEST(PlanPost, AddsWhatIsKnownOfTheEnvironment) {
    const auto post = plan({.command = Command::clear, .source = "codex"}, R"({"session_id":"s"})",
                           {.source = "codex",
                            .tty = "pts/3",
                            .terminalProgram = "ghostty",
                            .tmuxPane = "%4",
                            .weztermPane = "5",
                            .kittyWindowId = "6"});
    ASSERT_TRUE(post);
    EXPECT_EQ(post->path, "/clear");
    EXPECT_EQ(post->body, R"({"session_id":"s","source":"codex","tty":"pts/3","term_program":"ghostty",)"
                          R"("tmux_pane":"%4","wezterm_pane":"5","kitty_window_id":"6"})");
}

TEST(PlanPost, AddsWhatOnlyTheHelperTells) {
    const auto post =
        plan({.command = Command::clear}, R"({"session_id":"s","helper_version":7,"tmux_server":"/forged"})",
             {.source = "claude",
              .tmuxServer = "/tmp/tmux-0/\"work\"",
              .helperProcess = 12,
              .cliProcess = 7,
              .cliStartTime = 18446744073709551615U});
    ASSERT_TRUE(post);
    EXPECT_EQ(post->body, R"({"session_id":"s","source":"claude","helper_version":1,"helper_process":12,)"
                          R"("cli_process":7,"cli_start_time":"18446744073709551615",)"
                          R"("tmux_server":"/tmp/tmux-0/\"work\""})");
    const auto unknown =
        plan({.command = Command::clear}, R"({"session_id":"s"})", {.source = "claude", .helperProcess = 12});
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->body, R"({"session_id":"s","source":"claude","helper_version":1,"helper_process":12})");
}

TEST(TmuxServerIn, IsWhatStandsBeforeTheLastTwoCommas) {
    EXPECT_EQ(tmuxServerIn("/tmp/tmux-0/default,1234,0"), "/tmp/tmux-0/default");
    EXPECT_EQ(tmuxServerIn("/tmp/a,b,1234,0"), "/tmp/a,b");
    for (const std::string_view text : {"", ",", ",,", "/tmp/x", "/tmp/x,1", "name,1,0", ",1,0"})
        EXPECT_EQ(tmuxServerIn(text), "") << text;
}

TEST(PlanPost, NamesAndOptsInSessionsOnlyWhenTheyBegin) {
    const SessionStart start{.label = "api", .isOptedIn = true};
    const auto begin =
        plan({.command = Command::registerSession}, R"({"session_id":"s"})", {.source = "claude"}, start);
    ASSERT_TRUE(begin);
    EXPECT_EQ(begin->path, "/register");
    EXPECT_EQ(begin->body, R"({"session_id":"s","source":"claude","label":"api","opt_in":true})");
    const auto later = plan({.command = Command::notify}, R"({"session_id":"s"})", {.source = "claude"}, start);
    ASSERT_TRUE(later);
    EXPECT_EQ(later->body, R"({"session_id":"s","source":"claude"})");
}

TEST(PlanPost, NamesThemWithEveryPostOfOurHelper) {
    const SessionStart start{.label = "api", .isOptedIn = true};
    for (const Command command : {Command::notify, Command::clear, Command::permission}) {
        const auto post =
            plan({.command = command}, R"({"session_id":"s"})", {.source = "claude", .helperProcess = 7}, start);
        ASSERT_TRUE(post);
        EXPECT_EQ(parsed(post->body).value("label"), "api");
        EXPECT_EQ(parsed(post->body).value("opt_in"), true);
    }
}

TEST(PlanPost, EscapesWhateverTheEnvironmentHolds) {
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    const SessionStart start{.label = everyByte, .isOptedIn = true};
    const auto post = plan({.command = Command::registerSession, .source = "say \"hi\""}, R"({"session_id":"s"})",
                           {.source = "say \"hi\"",
                            .tty = "pts/\"3\"",
                            .terminalProgram = everyByte,
                            .tmuxPane = "\",\"session_id\":\"forged",
                            .weztermPane = "\\",
                            .kittyWindowId = "\n"},
                           start);
    ASSERT_TRUE(post);
    const QJsonObject body = parsed(post->body);
    QString repaired;
    for (int byte = 1; byte < 256; ++byte)
        repaired += byte < 128 ? QChar(byte) : QChar(QChar::ReplacementCharacter);
    EXPECT_EQ(body.size(), 9);
    EXPECT_EQ(body.value("session_id"), "s");
    EXPECT_EQ(body.value("source"), "say \"hi\"");
    EXPECT_EQ(body.value("tty"), "pts/\"3\"");
    EXPECT_EQ(body.value("term_program").toString(), repaired);
    EXPECT_EQ(body.value("tmux_pane"), "\",\"session_id\":\"forged");
    EXPECT_EQ(body.value("wezterm_pane"), "\\");
    EXPECT_EQ(body.value("kitty_window_id"), "\n");
    EXPECT_EQ(body.value("label").toString(), repaired);
    EXPECT_EQ(body.value("opt_in"), true);
}

TEST(PlanPost, RepairsWhatTheApplicationCouldNotRead) {
    const auto post = plan(Command::permission, "{\"session_id\":\"s\",\"tool_name\":\"Bash\","
                                                "\"tool_input\":{\"command\":\"a\nb\t\0\xff\"}}"s);
    ASSERT_TRUE(post);
    const auto ask = AskEvent::decode(QByteArray::fromStdString(post->body), WallTime());
    ASSERT_TRUE(ask);
    EXPECT_EQ(ask->actionSummary, QString("a\nb\t") + QChar(0) + QChar(QChar::ReplacementCharacter));
}

TEST(PlanPost, SendsNothingThatTheApplicationWouldDrop) {
    const auto requestSize = [](std::size_t size) -> std::size_t {
        const std::string payload = R"({"session_id":")" + std::string(size, 'x') + R"("})";
        const auto post = planPost({.command = Command::permission}, adapterFor("claude"), readPayload(payload),
                                   {.source = "claude"}, "0123456789abcdef", {});
        return post ? post->request.size() : 0;
    };
    constexpr std::size_t nearLimit = requestLimit - 1000;
    const std::size_t overhead = requestSize(nearLimit) - nearLimit;
    EXPECT_EQ(requestSize(requestLimit - overhead), requestLimit);
    EXPECT_EQ(requestSize(requestLimit - overhead + 1), 0U);
}

TEST(PlanPost, ShortensLongValuesSoThatTheApplicationTakesThem) {
    const std::string path = "/home/user/project/file.txt";
    const std::string longText = "begin " + std::string(3'000'000, 'x') + " end";
    const std::pair<Command, std::string> table[] = {
        {Command::permission,
         R"("tool_name":"Write","tool_input":{"file_path":")" + path + R"(","content":")" + longText + R"("})"},
        {Command::notify, R"("message":")" + longText + R"(","tool_input":{"file_path":")" + path + R"("})"},
        {Command::notify, R"("message":")" + longText + R"(","tool_input":{"file_path":")" + path + R"(","content":")" +
                              longText + R"("})"},
        // Repaired bytes are longer.
        {Command::permission,
         R"("tool_input":{"file_path":")" + path + R"(","content":"begin )" + std::string(900'000, '\xff') + R"("})"},
    };
    for (const auto& [command, members] : table) {
        SCOPED_TRACE(members.substr(0, 60));
        const auto post = plan(command, R"({"session_id":"s",)" + members + "}");
        ASSERT_TRUE(post);
        const QJsonObject body = parsed(post->body);
        EXPECT_EQ(body.value("session_id"), "s");
        EXPECT_EQ(body.value("tool_input").toObject().value("file_path").toString().toStdString(), path);
        EXPECT_GT(post->body.size(), 900'000U);
        for (const QString& text :
             {body.value("message").toString(), body.value("tool_input").toObject().value("content").toString()})
            EXPECT_TRUE(text.isEmpty() || (text.startsWith("begin ") && text.count(" […] ") == 1));
    }
}

TEST(PlanPost, ShortensALongQuestion) {
    const auto post = plan(Command::permission, R"({"session_id":"s","tool_name":"AskUserQuestion",)"
                                                R"("tool_input":{"questions":[{"question":"Why )" +
                                                    std::string(2'000'000, 'x') + R"(?"}]}})");
    ASSERT_TRUE(post);
    EXPECT_TRUE(parsed(post->body).value("message").toString().startsWith("Why x"));
}

TEST(PlanPost, AsksForPermissionUnderTheRequestId) {
    const auto post = plan(Command::permission, capturedPayload("claude/tui/PermissionRequest.Bash.json"));
    ASSERT_TRUE(post);
    EXPECT_EQ(post->path, "/permission");
    EXPECT_EQ(post->reply, HookPost::Reply::awaited);
    const auto ask = AskEvent::decode(QByteArray::fromStdString(post->body), WallTime());
    ASSERT_TRUE(ask);
    EXPECT_EQ(ask->requestId, "0123456789abcdef");
    EXPECT_EQ(ask->displayMessage(), "Bash: touch /home/user/project/made-by-tool && exit 3");
}

TEST(PlanPost, AsksForPermissionOnlyOnBehalfOfACliThatItCanAnswer) {
    EXPECT_FALSE(plan({.command = Command::permission, .source = "unheard-of"}, R"({"session_id":"s"})",
                      {.source = "unheard-of"}));
    EXPECT_TRUE(
        plan({.command = Command::notify, .source = "unheard-of"}, R"({"session_id":"s"})", {.source = "unheard-of"}));
}

TEST(PlanPost, TurnsAQuestionIntoANotice) {
    const auto post = plan(Command::permission, capturedPayload("claude/tui/PermissionRequest.AskUserQuestion.json"));
    ASSERT_TRUE(post);
    EXPECT_EQ(post->path, "/event");
    EXPECT_EQ(post->reply, HookPost::Reply::ignored);
    EXPECT_EQ(post->body, R"({"session_id":"31cb2982-93ea-4ddd-ba03-c3c890bbc067","cwd":"/home/user/project",)"
                          R"("message":"Which colour should the button be? / Which features do you want?",)"
                          R"("notification_type":"elicitation","source":"claude"})");
    const auto ask = AskEvent::decode(QByteArray::fromStdString(post->body), WallTime());
    ASSERT_TRUE(ask);
    EXPECT_TRUE(ask->isActionRequired());
    EXPECT_FALSE(ask->isPermission());
}

TEST(PlanPost, PutsQuestionsOnOneLine) {
    const std::pair<std::string, std::string> table[] = {
        {R"({"questions":[{"question":"One?"}]})", "One?"},
        {R"({"questions":[{"question":"  Two\n\tlines \u0007?  "},{"question":"\u00c9t\u00e9 \"?\""}]})",
         "Two lines ? / \xc3\x89t\xc3\xa9 \"?\""},
        {"{\"questions\":[{\"question\":\"raw\nline \xff\"}]}", "raw line \xef\xbf\xbd"},
        {R"({"questions":[{"question":""},{"header":"H"},{"question":5},7,{"question":"Real?"}]})", "Real?"},
        {R"({"questions":[]})", "Claude has a question"},
        {R"({"questions":"odd"})", "Claude has a question"},
        {R"({})", "Claude has a question"},
        {R"("odd")", "Claude has a question"},
    };
    for (const auto& [input, message] : table) {
        SCOPED_TRACE(input);
        const auto post =
            plan(Command::permission, R"({"session_id":"s","tool_name":"AskUserQuestion","tool_input":)" + input + "}");
        ASSERT_TRUE(post);
        EXPECT_EQ(post->path, "/event");
        EXPECT_EQ(parsed(post->body).value("message").toString().toStdString(), message);
    }
}

TEST(PlanPost, LeavesEveryCapturedPayloadReadableForTheApplication) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        SCOPED_TRACE(payload.name);
        const QJsonObject original = parsed(payload.text);
        for (const Command command : {Command::permission, Command::notify, Command::clear, Command::registerSession,
                                      Command::unregisterSession}) {
            const auto post = plan({.command = command}, payload.text, {.source = "claude", .tty = "pts/1"});
            ASSERT_TRUE(post);
            const QJsonObject body = parsed(post->body);
            EXPECT_EQ(body.value("session_id"), original.value("session_id"));
            EXPECT_EQ(body.value("cwd"), original.value("cwd"));
            EXPECT_EQ(body.value("agent_type"), original.value("agent_type"));
            EXPECT_EQ(body.value("source"), "claude");
            EXPECT_EQ(body.value("tty"), "pts/1");
            EXPECT_EQ(body.contains("request_id"), post->reply == HookPost::Reply::awaited);
            if (post->path == "/permission") {
                EXPECT_EQ(body.value("tool_name"), original.value("tool_name"));
                EXPECT_EQ(body.value("tool_input"), original.value("tool_input"));
                EXPECT_EQ(body.value("message"), original.value("message"));
            }
            const QByteArray bytes = QByteArray::fromStdString(post->body);
            EXPECT_TRUE(AskEvent::decode(bytes, WallTime()));
            const auto session = SessionInfo::decode(bytes);
            ASSERT_TRUE(session);
            EXPECT_EQ(session->ttyDevicePath(), "/dev/pts/1");
        }
    }
}

} // namespace
} // namespace pelorin::hook
