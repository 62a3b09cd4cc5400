#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/Adapters.h"

#include <utility>

namespace pelorin::hook {

namespace {

struct PatchedFiles {
    /// On one line.
    std::string names;
    bool areAllNew = true;
};

/// The files that a patch in Codex's own format is for.
PatchedFiles patchedFiles(std::string_view patch) {
    constexpr std::pair<std::string_view, bool> headings[] = {
        {"*** Add File: ", true}, {"*** Update File: ", false}, {"*** Delete File: ", false}};
    PatchedFiles files;
    while (!patch.empty()) {
        const std::string_view line = patch.substr(0, patch.find('\n'));
        patch.remove_prefix(line.size() == patch.size() ? line.size() : line.size() + 1);
        for (const auto& [heading, isNew] : headings) {
            if (!line.starts_with(heading))
                continue;
            if (!files.names.empty())
                files.names += ", ";
            appendOnOneLine(files.names, line.substr(heading.size()));
            files.areAllNew = files.areAllNew && isNew;
        }
    }
    return files;
}

void translate(std::string_view, Payload& payload, PayloadTexts& texts) {
    if (!jsonStringEquals(payload.toolName, "apply_patch"))
        return;
    const std::string_view patch = jsonMember(payload.toolInput, "command");
    const PatchedFiles files = patchedFiles(decodedJsonString(patch));
    if (files.names.empty())
        return;
    payload.toolName = files.areAllNew ? R"("Write")" : R"("Edit")";
    texts.toolInput = objectOf({{"file_path", jsonString(files.names)}, {"command", patch}});
    payload.toolInput = texts.toolInput;
}

// With a reviewer of its own, Codex runs the hook, and then has a model decide instead of asking. Only the session's
// record tells: a line for each turn, and one for each change of the settings.
bool asksNobody(std::string_view lines) {
    std::string_view reviewer;
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(line.size() == lines.size() ? line.size() : line.size() + 1);
        if (line.find(R"("approvals_reviewer")") == std::string_view::npos)
            continue;
        const std::string_view payload = jsonMember(line, "payload");
        const std::string_view type = jsonMember(line, "type");
        std::string_view told;
        if (jsonStringEquals(type, "turn_context"))
            told = jsonMember(payload, "approvals_reviewer");
        else if (jsonStringEquals(type, "event_msg"))
            told = jsonMember(jsonMember(payload, "thread_settings"), "approvals_reviewer");
        if (!told.empty())
            reviewer = told;
    }
    return reviewer.starts_with('"') && !jsonStringEquals(reviewer, "user");
}

// Codex refuses an answer with any further member.
std::string answer(Decision decision, const Payload&) {
    switch (decision) {
    case Decision::ask:
        break;
    case Decision::allow:
        return R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})";
    case Decision::deny:
        return R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
               R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})";
    }
    return {};
}

} // namespace

constexpr CliAdapter codexAdapter{.source = "codex",
                                  .answer = answer,
                                  .environment = CliAdapter::Environment::maybeOfAServer,
                                  .translate = translate,
                                  .asksNobody = asksNobody};

} // namespace pelorin::hook
