#include "tests/hook-setup/SettingsFiles.h"

#include "BeaconrySetup/Target.h"

namespace pelorin::setup {

namespace {

std::string withLineEnds(std::string text, const std::string& lineEnd) {
    std::string out;
    for (const char byte : text)
        out += byte == '\n' ? lineEnd : std::string(1, byte);
    return out;
}

const std::string foreignHooks = R"json({
  "model": "opus",
  "hooks": {
    "Stop": [
      {
        "hooks": [
          {
            "type": "command",
            "command": "say done"
          }
        ]
      }
    ],
    "PreToolUse": [
      {
        "matcher": "Bash",
        "hooks": [
          {"type": "command", "command": "/home/u/bin/check", "timeout": 3},
          {"type": "command", "command": "/home/u/.claude/hooks/claude-notify-hook.sh"}
        ]
      }
    ]
  },
  "permissions": {"allow": ["Bash(ls:*)"], "deny": []}
}
)json";

std::string hugeSettings() {
    std::string text = "{\n  \"permissions\": {\n    \"allow\": [";
    for (int count = 0; count < 20'000; ++count)
        text += (count == 0 ? "\n      \"Bash(command-" : ",\n      \"Bash(command-") + std::to_string(count) + ":*)\"";
    return text + "\n    ]\n  }\n}\n";
}

} // namespace

std::vector<SettingsSample> editableSettings() {
    return {
        {"no bytes", ""},
        {"a line end", "\n"},
        {"Windows line ends only", "\r\n\r\n"},
        {"blanks", "  \t "},
        {"a byte order mark only", "\xEF\xBB\xBF"},
        {"empty object", "{}"},
        {"empty object with line end", "{}\n"},
        {"empty object with blank lines behind it", "{}\n\n"},
        {"empty object with blanks around it", " \n{ }\t\n"},
        {"empty object on two lines", "{\n}\n"},
        {"empty object with blank lines in it", "{\n\n}\n"},
        {"empty object with Windows line ends", "{\r\n}\r\n"},
        {"one member", "{\n  \"model\": \"opus\"\n}\n"},
        {"one member without a line end", "{\n  \"model\": \"opus\"\n}"},
        {"one line", R"({"model": "opus", "cleanupPeriodDays": 20})"},
        {"no spare byte", R"({"model":"opus","permissions":{"allow":["Bash"]}})"},
        {"no spare byte and hooks", R"({"hooks":{"Stop":[{"hooks":[{"type":"command","command":"true"}]}]}})"},
        {"tabs", "{\n\t\"model\": \"opus\",\n\t\"env\": {\n\t\t\"A\": \"1\"\n\t}\n}\n"},
        {"four blanks", "{\n    \"model\": \"opus\",\n    \"env\": {\n        \"A\": \"1\"\n    }\n}\n"},
        {"no indentation", "{\n\"model\": \"opus\"\n}\n"},
        {"Windows line ends", withLineEnds(foreignHooks, "\r\n")},
        {"mixed line ends", "{\r\n  \"model\": \"opus\",\n  \"env\": {}\r\n}\n"},
        {"a byte order mark", "\xEF\xBB\xBF{\n  \"model\": \"opus\"\n}\n"},
        {"commas in front", "{ \"model\": \"opus\"\n, \"env\": {}\n, \"hooks\": {}\n}\n"},
        {"odd white space", "{ \n\n  \"model\"  :\t\"opus\" ,\n\n\n   \"env\":{ } \n\n } \n\n"},
        {"foreign hooks", foreignHooks},
        {"empty hooks", "{\n  \"hooks\": {}\n}\n"},
        {"empty hooks on lines", "{\n  \"hooks\": {\n  },\n  \"model\": \"opus\"\n}\n"},
        {"empty event", "{\n  \"hooks\": {\n    \"Stop\": []\n  }\n}\n"},
        {"empty event with a blank line", "{\n  \"hooks\": {\n    \"Stop\": [\n\n    ]\n  }\n}\n"},
        {"empty group", "{\n  \"hooks\": {\n    \"Stop\": [{\"hooks\": []}]\n  }\n}\n"},
        {"odd group", "{\n  \"hooks\": {\n    \"Stop\": [7, {\"hooks\": {}}, null, {}]\n  }\n}\n"},
        {"hooks on one line", "{\n  \"hooks\": {\"Stop\": [{\"hooks\": [{\"command\": \"x\"}]}], \"Other\": []}\n}\n"},
        {"hooks as the first of two", "{\n  \"hooks\": {},\n  \"model\": \"opus\"\n}"},
        {"escapes", "{\n  \"\\u0068ooks\": {\"St\\u006fp\": []},\n  \"a\\\"b\": \"\\\\\\\"}{][\"\n}\n"},
        {"letters of the world", "{\n  \"model\": \"\xC3\xA4\xE4\xBD\xA0\xF0\x9F\x98\x80\"\n}\n"},
        {"numbers as they are", "{\n  \"a\": 1.50e+10,\n  \"b\": -0.0,\n  \"c\": 123456789012345678901234567890\n}\n"},
        {"half a surrogate pair", R"({"a": "\ud800"})"},
        {"the companion alone", "{\"version\": 1}"},
        {"the companion with blank lines behind it", "{\"version\": 1}\n\n"},
        {"huge", hugeSettings()},
    };
}

std::vector<RefusedSample> refusedSettings() {
    using namespace std::string_literals;
    return {
        {"a comment", "{\n  // the model\n  \"model\": \"opus\"\n}\n", "line 2 holds a comment"},
        {"a comment at the end", "{}\n/* that is all */\n", "line 2 holds a comment"},
        {"a comment of another kind", "# settings\n{}\n", "line 1 holds a comment"},
        {"a comma behind the last member", "{\n  \"a\": 1,\n}\n", "line 3 has a comma behind the last item"},
        {"a comma behind the last element", "{\n  \"a\": [1, 2, ]\n}\n", "line 2 has a comma behind the last item"},
        {"a name twice", "{\n  \"a\": 1,\n  \"\\u0061\": 2\n}\n", "\"a\" stands twice in one object"},
        {"a name twice far inside", R"({"x": [{"y": {"hooks": 1, "hooks": 2}}]})",
         "\"hooks\" stands twice in one object"},
        {"not UTF-8", "{\"a\": \"\xE4\"}", "it is not UTF-8 text"},
        {"UTF-16", "\xFF\xFE{\0}\0"s, "it is not UTF-8 text"},
        {"a raw control character", "{\n\"a\": \"x\ty\"}", "line 2 holds a control character inside a string"},
        {"a zero byte", "{\0}"s, "line 1 is not JSON"},
        {"a list", "[]\n", "its top level is a list and not an object"},
        {"a text", "\"hooks\"\n", "line 1 is not JSON"},
        {"cut off", "{\n  \"hooks\": {", "it ends in the midst of an object"},
        {"two objects", "{}\n{}\n", "line 2 stands behind the end of the object"},
        {"single quotes", "{'a': 1}", "line 1 is not JSON"},
        {"a bare word", "{\"a\": yes}", "line 1 is not JSON"},
        {"marks of a merge", "{\n<<<<<<< HEAD\n  \"a\": 1\n}\n", "line 2 is not JSON"},
        {"too deep", "{\"a\":" + std::string(250, '[') + std::string(250, ']') + "}", "it is nested too deeply"},
        {"hooks that are a list", R"({"hooks": []})", "its \"hooks\" are no object"},
        {"hooks that are null", R"({"hooks": null})", "its \"hooks\" are no object"},
        {"an event that is an object", R"({"hooks": {"Stop": {}}})", "its hooks of \"Stop\" are no list"},
    };
}

HookPlan samplePlan() {
    return {.entries = {{"Stop", guardedCommand("/opt/p q/hooks/claude-clear-hook.sh"), {}, {{"async", "true"}}},
                        {"PreToolUse", guardedCommand("/opt/p q/hooks/claude-notify-hook.sh"), "Bash|Edit", {}}},
            .hooksDirectory = "/opt/p q/hooks"};
}

HookPlan flatPlan() {
    return {.layout = HookLayout::flat,
            .companions = {{"version", "1"}},
            .entries = {{"Stop", guardedCommand("/opt/p q/hooks/adapters/cli-hook.sh", "cursor clear")},
                        {"Start", guardedCommand("/opt/p q/hooks/adapters/cli-hook.sh", "cursor register")}},
            .hooksDirectory = "/opt/p q/hooks"};
}

std::vector<HookPlan> adapterPlans() {
    const SetupEnvironment environment{
        .home = "/home/u", .codexHome = "/home/u/.codex", .geminiHome = "/home/u", .hooksDirectory = "/opt/p q/hooks"};
    std::vector<HookPlan> plans;
    for (const char* name : {"codex", "gemini", "cursor"})
        plans.push_back(targetNamed(name)->plan(environment, ToolQuestions::on));
    return plans;
}

} // namespace pelorin::setup
