#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/Adapters.h"

namespace pelorin::hook {

namespace {

constexpr ToolName toolNames[] = {
    {R"("run_shell_command")", R"("Bash")"},
    {R"("write_file")", R"("Write")"},
    {R"("replace")", R"("Edit")"},
    {R"("web_fetch")", R"("WebFetch")"},
    {R"("google_web_search")", R"("WebSearch")"},
};

/// What Gemini's own prompt is about to ask, from the details of its notice.
std::string promptText(std::string_view details) {
    const auto textIn = [&](std::string_view name) {
        std::string text;
        appendOnOneLine(text, decodedJsonString(jsonMember(details, name)));
        return text;
    };
    const std::string type = textIn("type");
    if (type == "exec")
        return "Gemini wants to run: " + textIn("command");
    if (type == "edit")
        return "Gemini wants to change: " + textIn("filePath");
    if (type == "mcp")
        return "Gemini wants to use: " + textIn("toolName") + " of " + textIn("serverName");
    if (type == "info")
        return "Gemini wants to fetch: " + textIn("prompt");
    return "Gemini asks: " + textIn("title");
}

void translateNotice(std::string_view object, Payload& payload, PayloadTexts& texts) {
    if (!jsonStringEquals(payload.notificationType, "ToolPermission"))
        return;
    const std::string_view details = jsonMember(object, "details");
    const bool isQuestion = jsonStringEquals(jsonMember(details, "type"), "ask_user");
    texts.message = jsonString(isQuestion ? "Gemini has a question" : promptText(details));
    payload.message = texts.message;
    payload.notificationType = isQuestion ? R"("elicitation")" : R"("tool_permission")";
}

void translate(std::string_view object, Payload& payload, PayloadTexts& texts) {
    translateNotice(object, payload, texts);
    // What is to be fetched stands in a text for the model.
    if (jsonStringEquals(payload.toolName, "web_fetch")) {
        texts.toolInput = objectOf({{"url", jsonMember(payload.toolInput, "prompt")}});
        payload.toolInput = texts.toolInput;
    }
    payload.toolName = knownToolName(payload.toolName, toolNames);
}

// Gemini's own prompt comes for a tool that is allowed here all the same.
std::string answer(Decision decision, const Payload&) {
    return decision == Decision::deny ? R"({"decision":"deny","reason":"Denied in Pelorin."})" : std::string();
}

} // namespace

constexpr CliAdapter geminiAdapter{.source = "gemini", .answer = answer, .translate = translate};

} // namespace pelorin::hook
