#include "BeaconryHook/CliAdapter.h"

#include "BeaconryHook/HookPost.h"
#include "tests/hook/CapturedPayloads.h"

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/service/RequestFraming.h"

#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

std::string claudeAnswer(Decision decision, std::string_view payload) {
    return adapterFor("claude")->answer(decision, readPayload(payload));
}

TEST(AdapterFor, KnowsClaudeCode) {
    const CliAdapter* adapter = adapterFor("claude");
    ASSERT_TRUE(adapter);
    EXPECT_STREQ(adapter->processVariable, "CLAUDE_PID");
    EXPECT_FALSE(adapterFor("Claude"));
    EXPECT_FALSE(adapterFor(""));
}

TEST(ClaudeAdapter, AnswersInTheWordsOfTheCli) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        if (payload.event != "PermissionRequest" || payload.text.find("ExitPlanMode") != std::string::npos)
            continue;
        SCOPED_TRACE(payload.name);
        EXPECT_EQ(claudeAnswer(Decision::allow, payload.text),
                  R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})");
        EXPECT_EQ(claudeAnswer(Decision::deny, payload.text),
                  R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                  R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})");
        EXPECT_EQ(claudeAnswer(Decision::ask, payload.text), "");
    }
}

TEST(ClaudeAdapter, AllowsAPlanTogetherWithItsInput) {
    const std::string payload = capturedPayload("claude/tui/PermissionRequest.ExitPlanMode.plan.json");
    EXPECT_EQ(claudeAnswer(Decision::allow, payload),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow",)"
              R"("updatedInput":{"plan":"# Plan: greet\n\n1. Create `greet.txt`\n2. Say hello\n",)"
              R"("planFilePath":"/home/user/.claude/plans/wise-skipping-riddle.md"}}}})");
    EXPECT_EQ(claudeAnswer(Decision::deny, payload),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
              R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})");
    EXPECT_EQ(claudeAnswer(Decision::ask, payload), "");
}

TEST(ClaudeAdapter, AllowsAPlanWithoutInputTogetherWithAnEmptyOne) {
    constexpr std::string_view expected = R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                          R"("decision":{"behavior":"allow","updatedInput":{}}}})";
    for (const std::string_view payload :
         {R"({"tool_name":"ExitPlanMode"})", R"({"tool_name":"ExitPlanMode","tool_input":null})",
          R"({"tool_name":"ExitPlanMode","tool_input":["plan"]})",
          R"({"tool_name":"Exit\u0050lanMode","tool_input":{}})"})
        EXPECT_EQ(claudeAnswer(Decision::allow, payload), expected) << payload;
}

// The CLI's own reader refuses a raw line end in a string, and would take the plan for not answered.
TEST(ClaudeAdapter, RepairsTheInputOfAPlan) {
    EXPECT_EQ(claudeAnswer(Decision::allow, "{\"tool_name\":\"ExitPlanMode\",\"tool_input\":{\"plan\":\"a\nb\"}}"),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
              R"("decision":{"behavior":"allow","updatedInput":{"plan":"a\nb"}}}})");
}

TEST(ClaudeAdapter, TakesOnlyItsChoiceQuestionsForQuestions) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        const bool isQuestion = payload.text.find(R"("tool_name":"AskUserQuestion")") != std::string::npos;
        EXPECT_EQ(adapterFor("claude")->questionText(readPayload(payload.text)).has_value(), isQuestion)
            << payload.name;
    }
}

// What the application gets when a hook of the CLI is called in this way.
QByteArray bodyOf(const std::string& source, Command command, std::string_view payload) {
    const CliAdapter* adapter = adapterFor(source);
    PayloadTexts texts;
    const auto post = planPost({.command = command, .source = source}, adapter, readPayload(payload, adapter, texts),
                               {.source = source}, "0123456789abcdef", {});
    RequestFraming framing;
    EXPECT_TRUE(post);
    EXPECT_EQ(framing.append(QByteArray::fromStdString(post->request)), RequestFraming::Progress::complete);
    return framing.takeRequest().body;
}

AskEvent askOf(const std::string& source, Command command, std::string_view payload) {
    const auto ask = AskEvent::decode(bodyOf(source, command, payload), WallTime());
    EXPECT_TRUE(ask) << payload;
    return ask.value_or(AskEvent());
}

TEST(ClaudeAdapter, CallsADialogOfAServerByTheWordThatTheApplicationKnows) {
    const std::string payload = capturedPayload("claude/tui/Notification.elicitation_dialog.json");
    PayloadTexts texts;
    EXPECT_EQ(readPayload(payload, adapterFor("claude"), texts).notificationType, R"("elicitation")");
}

TEST(ClaudeAdapter, KnowsTheNoticeThatSaysNothing) {
    const auto isGeneric = [](const char* name) {
        const std::string payload = capturedPayload(name);
        return adapterFor("claude")->isGenericNotice(readPayload(payload));
    };
    EXPECT_TRUE(isGeneric("claude/tui/Notification.permission_prompt.json"));
    EXPECT_FALSE(isGeneric("claude/tui/Notification.agent_needs_input.json"));
    EXPECT_FALSE(isGeneric("claude/tui/Notification.idle_prompt.json"));
}

TEST(ClaudeAdapter, TellsWhatAUseOfAToolAsks) {
    const std::tuple<const char*, const char*, const char*> table[] = {
        {R"("Bash")", R"({"command":"a\n b"})", "Claude wants to run: a b"},
        {R"("Edit")", R"({"file_path":"/x"})", "Claude wants to change: /x"},
        {R"("NotebookEdit")", R"({"notebook_path":"/n"})", "Claude wants to change: /n"},
        {R"("Read")", R"({"file_path":"/x"})", "Claude wants to read: /x"},
        {R"("WebFetch")", R"({"url":"https://x.test"})", "Claude wants to fetch: https://x.test"},
        {R"("WebSearch")", R"({"query":"q"})", "Claude wants to search: q"},
        {R"("mcp__lab__ping")", "{}", "Claude wants to use: mcp__lab__ping"},
    };
    for (const auto& [name, input, text] : table)
        EXPECT_EQ(adapterFor("claude")->useText(name, input), text);
}

TEST(CodexAdapter, AsksNobodyWithAReviewerOfItsOwn) {
    const std::string turn = R"({"type":"turn_context","payload":{"approvals_reviewer":)";
    const std::string settings = R"({"type":"event_msg","payload":{"thread_settings":{"approvals_reviewer":)";
    const std::pair<std::string, bool> table[] = {
        {"", false},
        {turn + R"("auto_review"}})", true},
        {turn + R"("user"}})", false},
        {turn + "null}}", false},
        {turn + R"("user"}})" + "\n" + settings + R"("auto_review"}}})", true},
        {turn + R"("auto_review"}})" + "\n" + settings + R"("user"}}})" + "\n", false},
        {R"({"type":"response_item","payload":{"approvals_reviewer":"auto_review"}})", false},
        {R"({"type":"event_msg","payload":{"text":"\"approvals_reviewer\":\"auto_review\""}})", false},
        {R"("approvals_reviewer":"auto_review")", false},
    };
    for (const auto& [lines, expected] : table)
        EXPECT_EQ(adapterFor("codex")->asksNobody(lines), expected) << lines;
}

TEST(CliAdapters, AreThoseOfFiveClis) {
    for (const char* source : {"claude", "codex", "gemini", "opencode", "cursor"}) {
        const CliAdapter* adapter = adapterFor(source);
        ASSERT_TRUE(adapter) << source;
        EXPECT_EQ(adapter->source, source);
        EXPECT_EQ(adapter->environment, source == std::string_view("codex") ? CliAdapter::Environment::maybeOfAServer
                                                                            : CliAdapter::Environment::ofTheSession);
    }
}

TEST(CliAdapters, AnswerInTheWordsOfTheirCli) {
    const std::tuple<std::string, std::string, std::string> table[] = {
        {"codex", R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})",
         R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
         R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})"},
        {"gemini", "", R"({"decision":"deny","reason":"Denied in Pelorin."})"},
        {"opencode", "once", "reject"},
        {"cursor", R"({"permission":"allow"})",
         R"({"permission":"deny","user_message":"Denied in Pelorin.","agent_message":"Denied in Pelorin."})"},
    };
    for (const auto& [source, allowed, denied] : table) {
        SCOPED_TRACE(source);
        const CliAdapter* adapter = adapterFor(source);
        ASSERT_TRUE(adapter);
        EXPECT_EQ(adapter->answer(Decision::allow, Payload()), allowed);
        EXPECT_EQ(adapter->answer(Decision::deny, Payload()), denied);
        EXPECT_EQ(adapter->answer(Decision::ask, Payload()), "");
    }
}

TEST(CliAdapters, LetRequestsReadWell) {
    const std::tuple<std::string, std::string, const char*> table[] = {
        {"codex", capturedPayload("codex/PermissionRequest.json"), "Bash: touch /home/user/marker"},
        {"codex", capturedPayload("codex/PermissionRequest.patch-deny-run.json"), "Write: patched.txt"},
        {"codex",
         R"({"session_id":"s","tool_name":"apply_patch","tool_input":{"command":"*** Begin Patch\n*** Add File: a.txt)"
         R"(\n+*** Add File: no\n*** Update File: dir/b  c.txt\n@@\n-x\n*** Delete File: d\n*** End Patch\n"}})",
         "Edit: a.txt, dir/b c.txt, d"},
        {"codex", R"({"session_id":"s","tool_name":"apply_patch","tool_input":{"command":"odd"}})",
         R"(apply_patch: {"command":"odd"})"},
        {"codex", R"({"session_id":"s","tool_name":"apply_patch","tool_input":"odd"})", "apply_patch"},
        {"codex", R"({"session_id":"s","tool_name":"mcp__lab__ping","tool_input":{"b":1,"a":2}})",
         R"(mcp__lab__ping: {"a":2,"b":1})"},
        {"gemini", capturedPayload("gemini/BeforeTool.json"), "Bash: touch /home/user/marker"},
        {"gemini", capturedPayload("gemini/BeforeTool.write_file.json"), "Write: /home/user/project/new.txt"},
        {"gemini", R"({"session_id":"s","tool_name":"replace","tool_input":{"file_path":"/p/x","old_string":"a"}})",
         "Edit: /p/x"},
        {"gemini", R"({"session_id":"s","tool_name":"web_fetch","tool_input":{"prompt":"sum up https://x.example"}})",
         "WebFetch: sum up https://x.example"},
        {"gemini", R"({"session_id":"s","tool_name":"web_fetch"})", "WebFetch"},
        {"gemini", R"({"session_id":"s","tool_name":"google_web_search","tool_input":{"query":"owls"}})",
         "WebSearch: owls"},
        {"gemini", R"({"session_id":"s","tool_name":"mcp_lab_ping","tool_input":{"a":1}})", R"(mcp_lab_ping: {"a":1})"},
        {"opencode",
         R"({"session_id":"s","permission":"bash","patterns":["ls","pwd"],"metadata":{"command":"ls;pwd"}})",
         "Bash: ls;pwd"},
        {"opencode", R"({"session_id":"s","permission":"bash","patterns":["ls","pwd"]})", "Bash: ls, pwd"},
        {"opencode", R"({"session_id":"s","permission":"edit","patterns":["x"],"metadata":{"filepath":"/p/x"}})",
         "Edit: /p/x"},
        {"opencode", R"({"session_id":"s","permission":"webfetch","patterns":["https://x.example"],"metadata":{}})",
         "WebFetch: https://x.example"},
        {"opencode", R"({"session_id":"s","permission":"websearch","metadata":{"query":"owls"}})", "WebSearch: owls"},
        {"opencode", R"({"session_id":"s","permission":"external_directory","patterns":["/etc/*"]})",
         R"(external_directory: {"patterns":["/etc/*"]})"},
        {"opencode", R"({"session_id":"s","permission":"doom_loop"})", "doom_loop"},
        {"cursor",
         R"({"conversation_id":"s","hook_event_name":"beforeShellExecution","command":"ls \"a\"","cwd":"/c"})",
         R"(Bash: ls "a")"},
        {"cursor",
         R"({"conversation_id":"s","hook_event_name":"beforeMCPExecution","tool_name":"ping",)"
         R"("tool_input":"{\"b\":1,\"a\":2}"})",
         R"(ping: {"a":2,"b":1})"},
        {"cursor",
         R"({"conversation_id":"s","hook_event_name":"beforeMCPExecution","tool_name":"ping",)"
         R"("tool_input":{"a":1}})",
         R"(ping: {"a":1})"},
        {"cursor",
         R"({"conversation_id":"s","hook_event_name":"beforeMCPExecution","tool_name":"ping",)"
         R"("tool_input":"{} x"})",
         R"(ping: {"input":"{} x"})"},
    };
    for (const auto& [source, payload, message] : table) {
        SCOPED_TRACE(payload);
        const AskEvent ask = askOf(source, Command::permission, payload);
        EXPECT_TRUE(ask.isPermission());
        EXPECT_EQ(ask.source.toStdString(), source);
        EXPECT_EQ(ask.displayMessage().toStdString(), message);
    }
}

TEST(CliAdapters, LetNoticesReadWell) {
    const auto geminiNotice = [](const std::string& details) {
        return R"({"session_id":"s","notification_type":"ToolPermission","message":"m","details":)" + details + "}";
    };
    const std::tuple<std::string, std::string, const char*> table[] = {
        {"gemini", capturedPayload("gemini/Notification.json"), "Gemini has a question"},
        {"gemini", capturedPayload("gemini/Notification.write_file.json"),
         "Gemini wants to change: /home/user/project/new.txt"},
        {"gemini", geminiNotice(R"({"type":"exec","title":"t","command":"ls\n  pwd","rootCommand":"ls"})"),
         "Gemini wants to run: ls pwd"},
        {"gemini", geminiNotice(R"({"type":"mcp","serverName":"lab","toolName":"ping"})"),
         "Gemini wants to use: ping of lab"},
        {"gemini", geminiNotice(R"({"type":"info","prompt":"sum up https://x.example"})"),
         "Gemini wants to fetch: sum up https://x.example"},
        {"gemini", geminiNotice(R"({"type":"exit_plan_mode","title":"Plan Approval"})"), "Gemini asks: Plan Approval"},
        {"gemini", geminiNotice("null"), "Gemini asks: "},
        {"opencode", R"({"session_id":"s","questions":[{"question":"Which\ncolour?"},{"question":"Which size?"}]})",
         "Which colour? / Which size?"},
        {"opencode", R"({"session_id":"s","questions":[]})", "opencode has a question"},
    };
    for (const auto& [source, payload, message] : table) {
        SCOPED_TRACE(payload);
        const AskEvent ask = askOf(source, Command::notify, payload);
        EXPECT_FALSE(ask.isPermission());
        EXPECT_TRUE(ask.isActionRequired());
        EXPECT_EQ(ask.displayMessage().toStdString(), message);
    }
}

TEST(CliAdapters, LeaveOtherNoticesAsTheyAre) {
    const AskEvent ask =
        askOf("gemini", Command::notify, R"({"session_id":"s","notification_type":"Idle","message":"m"})");
    EXPECT_EQ(ask.notificationType, "Idle");
    EXPECT_EQ(ask.message, "m");
}

TEST(CursorAdapter, FindsSessionAndFolder) {
    const std::tuple<const char*, const char*, const char*> table[] = {
        {R"({"conversation_id":"c","generation_id":"g","workspace_roots":["/w","/v"]})", "c", "/w"},
        {R"({"conversation_id":"c","session_id":"s","cwd":"/c","workspace_roots":["/w"]})", "c", "/c"},
        {R"({"session_id":"s"})", "s", ""},
        {R"({"conversation_id":"c","workspace_roots":[]})", "c", ""},
    };
    for (const auto& [payload, session, folder] : table) {
        const auto info = SessionInfo::decode(bodyOf("cursor", Command::registerSession, payload));
        ASSERT_TRUE(info) << payload;
        EXPECT_EQ(info->sessionId, session);
        EXPECT_EQ(info->cwd, folder);
        EXPECT_EQ(info->source, "cursor");
    }
}

TEST(ComposerOf, SeesThatCursorRunsTheHooksOfClaudeCode) {
    constexpr std::string_view ofCursor = R"({"conversation_id":"c","hook_event_name":"stop"})";
    EXPECT_EQ(composerOf(ofCursor, adapterFor("claude")), adapterFor("cursor"));
    EXPECT_EQ(composerOf(ofCursor, adapterFor("codex")), adapterFor("codex"));
    EXPECT_EQ(composerOf(ofCursor, nullptr), nullptr);
    for (const CapturedPayload& payload : capturedPayloads("claude"))
        EXPECT_EQ(composerOf(payload.text, adapterFor("claude")), adapterFor("claude")) << payload.name;
}

} // namespace
} // namespace pelorin::hook
