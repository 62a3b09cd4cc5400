#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/Adapters.h"

namespace pelorin::hook {

namespace {

/// A kind of permission, the tool whose name it gets, and where what is to be shown stands.
struct Permission {
    std::string_view kind;
    std::string_view tool;
    std::string_view metadataName;
    std::string_view inputName;
};

constexpr Permission permissions[] = {
    {"bash", R"("Bash")", "command", "command"},
    {"edit", R"("Edit")", "filepath", "file_path"},
    {"webfetch", R"("WebFetch")", "url", "url"},
    {"websearch", R"("WebSearch")", "query", "query"},
};

void translatePermission(std::string_view object, Payload& payload, PayloadTexts& texts) {
    const std::string_view kind = jsonMember(object, "permission");
    const std::string_view patterns = jsonMember(object, "patterns");
    if (kind.empty())
        return;
    payload.toolName = kind;
    texts.toolInput = objectOf({{"patterns", patterns}});
    for (const Permission& permission : permissions) {
        if (!jsonStringEquals(kind, permission.kind))
            continue;
        payload.toolName = permission.tool;
        std::string shown = decodedJsonString(jsonMember(jsonMember(object, "metadata"), permission.metadataName));
        if (shown.empty())
            shown = joinedStrings(patterns, ", ");
        texts.toolInput = objectOf({{permission.inputName, jsonString(shown)}, {"patterns", patterns}});
    }
    payload.toolInput = texts.toolInput;
}

void translate(std::string_view object, Payload& payload, PayloadTexts& texts) {
    translatePermission(object, payload, texts);
    const std::string_view questions = jsonMember(object, "questions");
    if (questions.empty())
        return;
    std::string text = joinedQuestions(questions);
    if (text.empty())
        text = "opencode has a question";
    texts.message = jsonString(text);
    payload.message = texts.message;
    payload.notificationType = R"("elicitation")";
}

std::string answer(Decision decision, const Payload&) {
    switch (decision) {
    case Decision::ask:
        break;
    case Decision::allow:
        return "once";
    case Decision::deny:
        return "reject";
    }
    return {};
}

} // namespace

constexpr CliAdapter opencodeAdapter{.source = "opencode", .answer = answer, .translate = translate};

} // namespace pelorin::hook
