#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/Adapters.h"

namespace pelorin::hook {

namespace {

// After Cursor's documentation; no Cursor has been seen to do this.

std::string_view firstElement(std::string_view array) {
    return JsonElementReader(array).next().value_or(std::string_view());
}

/// The input of a tool of a server, which Cursor hands over as a text.
std::string inputObject(std::string_view input) {
    std::string text = decodedJsonString(input);
    ObjectScanner scanner;
    const bool isObject = scanner.feed(text) == ObjectScanner::Progress::complete && scanner.consumed() == text.size();
    return isObject ? text : objectOf({{"input", input}});
}

void translate(std::string_view object, Payload& payload, PayloadTexts& texts) {
    // Only the start of a session bears the session's id by its usual name.
    if (const std::string_view conversation = jsonMember(object, "conversation_id"); !conversation.empty())
        payload.sessionId = conversation;
    if (payload.cwd.empty())
        payload.cwd = firstElement(jsonMember(object, "workspace_roots"));
    if (jsonStringEquals(payload.eventName, "beforeShellExecution")) {
        payload.toolName = R"("Bash")";
        texts.toolInput = objectOf({{"command", jsonMember(object, "command")}});
        payload.toolInput = texts.toolInput;
    } else if (payload.toolInput.starts_with('"')) {
        texts.toolInput = inputObject(payload.toolInput);
        payload.toolInput = texts.toolInput;
    }
}

std::string answer(Decision decision, const Payload&) {
    switch (decision) {
    case Decision::ask:
        break;
    case Decision::allow:
        return R"({"permission":"allow"})";
    case Decision::deny:
        return R"({"permission":"deny","user_message":"Denied in Pelorin.","agent_message":"Denied in Pelorin."})";
    }
    return {};
}

} // namespace

constexpr CliAdapter cursorAdapter{.source = "cursor", .answer = answer, .translate = translate};

} // namespace pelorin::hook
