#include "BeaconryHook/HookPost.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/HttpExchange.h"

#include <utility>

namespace pelorin::hook {

namespace {

std::optional<HookPost> post(Command command, std::string_view body, HookPost::Reply reply) {
    HookPost planned{composeRequest(pathOf(command), body), reply};
    if (planned.request.size() > requestLimit)
        return std::nullopt;
    return planned;
}

// The CLI's own dialog takes the answer to a question: the application only shows that there is one.
std::optional<HookPost> questionNotice(Payload payload, std::string_view question, const HookEnvironment& environment) {
    std::string message;
    appendJsonString(message, question);
    payload.message = message;
    payload.notificationType = R"("elicitation")";
    payload.toolName = {};
    payload.toolInput = {};
    BodyComposer body(payload, environment);
    return post(Command::notify, body.take(), HookPost::Reply::ignored);
}

} // namespace

std::optional<HookPost> planPost(const HookCall& call, const CliAdapter* adapter, const Payload& payload,
                                 const HookEnvironment& environment, std::string_view requestId,
                                 const SessionStart& start) {
    if (call.command != Command::permission) {
        BodyComposer body(payload, environment);
        if (call.command == Command::registerSession)
            body.addSessionStart(start);
        return post(call.command, body.take(), HookPost::Reply::ignored);
    }
    if (!adapter)
        return std::nullopt;
    const auto question = adapter->questionText ? adapter->questionText(payload) : std::nullopt;
    if (question)
        return questionNotice(payload, *question, environment);
    BodyComposer body(payload, environment);
    body.addRequestId(requestId);
    return post(call.command, body.take(), HookPost::Reply::awaited);
}

} // namespace pelorin::hook
