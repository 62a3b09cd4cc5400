#include "BeaconryHook/Payload.h"

#include "BeaconryBase/JsonText.h"

#include <cstddef>
#include <utility>

namespace pelorin::hook {

namespace {

struct MemberEntry {
    std::string_view name;
    std::string_view Payload::*value;
};

constexpr MemberEntry forwardedMembers[] = {
    {"session_id", &Payload::sessionId}, {"cwd", &Payload::cwd},
    {"message", &Payload::message},      {"tool_name", &Payload::toolName},
    {"tool_input", &Payload::toolInput}, {"notification_type", &Payload::notificationType},
    {"agent_type", &Payload::agentType},
};

constexpr MemberEntry otherMembers[] = {
    {"agent_id", &Payload::agentId},
    {"hook_event_name", &Payload::eventName},
    {"transcript_path", &Payload::transcriptPath},
};

template <std::size_t count>
void take(const JsonMember& member, const MemberEntry (&entries)[count], Payload& payload) {
    for (const MemberEntry& entry : entries) {
        if (jsonStringEquals(member.name, entry.name))
            payload.*entry.value = member.value;
    }
}

} // namespace

std::string_view tmuxServerIn(std::string_view variable) {
    // A path may hold commas, too.
    const std::size_t last = variable.rfind(',');
    if (last == std::string_view::npos || last == 0)
        return {};
    const std::size_t first = variable.rfind(',', last - 1);
    if (first == std::string_view::npos || variable.front() != '/')
        return {};
    return variable.substr(0, first);
}

Payload readPayload(std::string_view object) {
    Payload payload;
    JsonMemberReader members(object);
    while (const auto member = members.next()) {
        take(*member, forwardedMembers, payload);
        take(*member, otherMembers, payload);
    }
    return payload;
}

BodyComposer::BodyComposer(const Payload& payload, const HookEnvironment& environment) {
    for (const MemberEntry& entry : forwardedMembers)
        addRaw(entry.name, payload.*entry.value);
    addText("source", environment.source);
    addText("tty", environment.tty);
    addText("term_program", environment.terminalProgram);
    addText("tmux_pane", environment.tmuxPane);
    addText("wezterm_pane", environment.weztermPane);
    addText("kitty_window_id", environment.kittyWindowId);
    if (environment.helperProcess > 0)
        addHelper(environment);
}

void BodyComposer::addRequestId(std::string_view requestId) {
    addText("request_id", requestId);
}

void BodyComposer::addSessionStart(const SessionStart& start) {
    addText("label", start.label);
    if (start.isOptedIn)
        addRaw("opt_in", "true");
}

std::string BodyComposer::take() {
    m_body += '}';
    return std::move(m_body);
}

void BodyComposer::addHelper(const HookEnvironment& environment) {
    addRaw("helper_version", "1");
    addRaw("helper_process", std::to_string(environment.helperProcess));
    if (environment.cliProcess > 0)
        addRaw("cli_process", std::to_string(environment.cliProcess));
    // As a text: the application's numbers lose the last digits of what is that long.
    if (environment.cliStartTime > 0)
        addText("cli_start_time", std::to_string(environment.cliStartTime));
    addText("tmux_server", environment.tmuxServer);
}

void BodyComposer::addRaw(std::string_view name, std::string_view value) {
    if (value.empty())
        return;
    addName(name);
    appendRepaired(m_body, value);
}

void BodyComposer::addText(std::string_view name, std::string_view text) {
    if (text.empty())
        return;
    addName(name);
    appendJsonString(m_body, text);
}

void BodyComposer::addName(std::string_view name) {
    if (m_body.size() > 1)
        m_body += ',';
    m_body += '"';
    m_body += name;
    m_body += "\":";
}

} // namespace pelorin::hook
