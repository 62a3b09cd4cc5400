#include "BeaconryKit/model/AskEvent.h"

#include "BeaconryKit/model/SessionInfo.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

const WallTime arrival{std::chrono::seconds(1'700'000'000)};

AskEvent decoded(QByteArrayView body) {
    const auto ask = AskEvent::decode(body, arrival);
    EXPECT_TRUE(ask.has_value()) << body.toByteArray().constData();
    return ask.value_or(AskEvent{});
}

bool isInvalidPayload(const DecodeFailure& failure) {
    const auto* error = std::get_if<DecodeError>(&failure);
    return error && *error == DecodeError::invalidPayload;
}

TEST(AskEventDecoding, ReadsEveryField) {
    const AskEvent ask = decoded(R"({"session_id":"s1","cwd":"/p","message":"m","tty":"pts/3","term_program":"kitty",
        "request_id":"r9","tool_name":"Bash","tool_input":{"command":"ls"},"notification_type":"n","agent_type":"a",
        "source":"codex","tmux_pane":"%3","wezterm_pane":"4","kitty_window_id":"7"})");
    const AskEvent expected{.sessionId = "s1",
                            .cwd = "/p",
                            .message = "m",
                            .tty = "pts/3",
                            .termProgram = "kitty",
                            .receivedAt = arrival,
                            .requestId = "r9",
                            .toolName = "Bash",
                            .actionSummary = "ls",
                            .notificationType = "n",
                            .agentType = "a",
                            .source = "codex",
                            .detail = "",
                            .options = {},
                            .acceptsText = false,
                            .tmuxPane = "%3",
                            .weztermPane = "4",
                            .kittyWindowId = "7"};
    EXPECT_EQ(ask, expected);
}

TEST(AskEventDecoding, TakesDefaultsForWhatIsMissing) {
    const AskEvent expected{.receivedAt = arrival, .source = "claude"};
    EXPECT_EQ(decoded(R"({"session_id":""})"), expected);
}

TEST(AskEventDecoding, TakesAnEmptySourceAsItIs) {
    EXPECT_EQ(decoded(R"({"session_id":"s","source":""})").source, "");
    EXPECT_EQ(SessionInfo::decode(R"({"session_id":"s","source":""})")->source, "");
}

TEST(AskEventDecoding, DropsValuesOfAnotherTypeInsteadOfConvertingThem) {
    const AskEvent expected{.sessionId = "s", .receivedAt = arrival, .source = "claude"};
    EXPECT_EQ(decoded(R"({"session_id":"s","cwd":1,"message":null,"tty":true,"term_program":[],"request_id":{},
        "tool_name":0.5,"tool_input":"ls","notification_type":2,"agent_type":false,"source":3,"tmux_pane":4,
        "wezterm_pane":5,"kitty_window_id":7,"detail":"d","options":[1],"acceptsText":true})"),
              expected);
}

TEST(AskEventDecoding, FailsOnlyWithoutAReadableSession) {
    for (const char* body : {"[]", "[1]", "{}", R"({"cwd":"/"})", R"({"session_id":1})", R"({"session_id":null})"}) {
        const auto ask = AskEvent::decode(body, arrival);
        ASSERT_FALSE(ask.has_value()) << body;
        EXPECT_TRUE(isInvalidPayload(ask.error())) << body;
        const auto session = SessionInfo::decode(body);
        ASSERT_FALSE(session.has_value()) << body;
        EXPECT_TRUE(isInvalidPayload(session.error())) << body;
    }
}

TEST(AskEventDecoding, PassesTheReadersErrorOn) {
    for (const char* body : {"", "{", "{\"session_id\":\"s\"", "nonsense", "{\"session_id\":\"\xff\"}", "{} {}"}) {
        QJsonParseError expected;
        QJsonDocument::fromJson(body, &expected);
        const auto ask = AskEvent::decode(body, arrival);
        ASSERT_FALSE(ask.has_value()) << body;
        ASSERT_TRUE(std::holds_alternative<QJsonParseError>(ask.error())) << body;
        EXPECT_EQ(std::get<QJsonParseError>(ask.error()).error, expected.error) << body;
        EXPECT_EQ(std::get<QJsonParseError>(ask.error()).offset, expected.offset) << body;
        EXPECT_TRUE(std::holds_alternative<QJsonParseError>(SessionInfo::decode(body).error())) << body;
    }
}

TEST(AskEventDecoding, UnderstandsEveryCapturedPayload) {
    int seen = 0;
    QDirIterator files(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude", {"*.json"}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const AskEvent ask = decoded(file.readAll());
        EXPECT_FALSE(ask.sessionId.isEmpty()) << qPrintable(file.fileName());
        EXPECT_FALSE(ask.isPermission());
        if (file.fileName().contains("PermissionRequest.Bash")) {
            EXPECT_FALSE(ask.actionSummary.isEmpty()) << qPrintable(file.fileName());
        }
        ++seen;
    }
    EXPECT_GT(seen, 100);
}

TEST(SessionInfoDecoding, ReadsEveryField) {
    const auto session =
        SessionInfo::decode(R"({"session_id":"s1","cwd":"/p","tty":"pts/3","term_program":"kitty","label":"api",
            "opt_in":true,"source":"codex","tmux_pane":"%3","wezterm_pane":"4","kitty_window_id":"7"})");
    const SessionInfo expected{.sessionId = "s1",
                               .cwd = "/p",
                               .tty = "pts/3",
                               .termProgram = "kitty",
                               .label = "api",
                               .optIn = true,
                               .source = "codex",
                               .tmuxPane = "%3",
                               .weztermPane = "4",
                               .kittyWindowId = "7"};
    ASSERT_TRUE(session.has_value());
    EXPECT_EQ(*session, expected);
}

TEST(SessionInfoDecoding, TakesDefaultsForWhatIsMissingOrOfAnotherType) {
    const auto bare = SessionInfo::decode(R"({"session_id":""})");
    ASSERT_TRUE(bare.has_value());
    EXPECT_EQ(*bare, SessionInfo{});
    EXPECT_EQ(bare->source, "claude");
    const auto odd = SessionInfo::decode(R"({"session_id":"s","opt_in":1,"label":2,"source":null,"cwd":[]})");
    ASSERT_TRUE(odd.has_value());
    EXPECT_EQ(*odd, SessionInfo{.sessionId = "s"});
    EXPECT_FALSE(SessionInfo::decode(R"({"session_id":"s","opt_in":"true"})")->optIn);
}

TEST(AskEvent, IsIdentifiedByItsRequestElseItsSession) {
    AskEvent ask{.sessionId = "s1"};
    EXPECT_EQ(ask.id(), "s1");
    EXPECT_FALSE(ask.isPermission());
    ask.requestId = "r9";
    EXPECT_EQ(ask.id(), "r9");
    EXPECT_TRUE(ask.isPermission());
}

TEST(AskEvent, ShowsThePermissionsToolOrTheNoticesText) {
    AskEvent ask{.message = "waiting", .toolName = "Bash", .actionSummary = "ls"};
    EXPECT_EQ(ask.displayMessage(), "waiting");
    ask.requestId = "r";
    EXPECT_EQ(ask.displayMessage(), "Bash: ls");
    ask.actionSummary.clear();
    EXPECT_EQ(ask.displayMessage(), "Bash");
}

TEST(AskEvent, NeedsActionAsAPermissionOrByItsText) {
    EXPECT_TRUE((AskEvent{.requestId = "r", .notificationType = "idle_prompt"}).isActionRequired());
    EXPECT_TRUE((AskEvent{.message = "proceed?"}).isActionRequired());
    EXPECT_FALSE((AskEvent{.message = "proceed?", .notificationType = "idle_prompt"}).isActionRequired());
    EXPECT_TRUE((AskEvent{.agentType = "general-purpose"}).isFromSubagent());
    EXPECT_FALSE(AskEvent{}.isFromSubagent());
}

TEST(AskEvent, NamesTheProjectAboveItsClaudeFolder) {
    const auto projectName = [](const char* cwd) {
        return AskEvent{.cwd = cwd}.projectName();
    };
    EXPECT_EQ(projectName("/Users/a/proj/.claude/worktrees/x"), "proj");
    EXPECT_EQ(projectName("/Users/a/proj/.claude/b/.claude/c"), "proj");
    EXPECT_EQ(projectName("/Users/a/proj/.claude"), ".claude");
    EXPECT_EQ(projectName("/Users/a/proj"), "proj");
    EXPECT_EQ(projectName("/Users/a/proj/"), "proj");
    EXPECT_EQ(projectName("/"), "/");
    EXPECT_EQ(projectName("proj"), "proj");
    EXPECT_EQ(projectName(""), "unknown");
    EXPECT_EQ(projectName("/.claude/x"), "unknown");
}

TEST(AskEvent, HasADevicePathWhenItHasATerminal) {
    EXPECT_EQ(AskEvent{.tty = "ttys004"}.ttyDevicePath(), "/dev/ttys004");
    EXPECT_EQ(AskEvent{.tty = "??"}.ttyDevicePath(), std::nullopt);
    EXPECT_EQ(AskEvent{}.ttyDevicePath(), std::nullopt);
    EXPECT_EQ(SessionInfo{.tty = "pts/3"}.ttyDevicePath(), "/dev/pts/3");
    EXPECT_EQ(SessionInfo{.tty = "??"}.ttyDevicePath(), std::nullopt);
}

} // namespace
} // namespace pelorin
