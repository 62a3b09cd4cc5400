#include "BeaconryHook/HookPost.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/HttpExchange.h"
#include "BeaconryHook/ShortenedJson.h"

#include <algorithm>

namespace pelorin::hook {

namespace {

std::string repaired(std::string_view value) {
    std::string text;
    appendRepaired(text, value);
    return text;
}

/// Shortens the values that may be long so that the request fits. False when it is too long without them.
bool shorten(Payload& payload, PayloadTexts& texts, std::size_t requestSize) {
    const std::string message = repaired(payload.message);
    const std::string toolInput = repaired(payload.toolInput);
    const std::size_t rest = requestSize - message.size() - toolInput.size();
    if (rest + 2 * leastShortenedSize > requestLimit)
        return false;
    const std::size_t room = requestLimit - rest;
    texts.toolInput = shortenedJson(toolInput, room - std::min(message.size(), room / 2));
    texts.message = shortenedJson(message, room - texts.toolInput.size());
    payload.message = texts.message;
    payload.toolInput = texts.toolInput;
    return true;
}

/// `compose` makes the body of a payload.
template <class Compose>
std::optional<HookPost> post(Command command, Payload payload, HookPost::Reply reply, Compose compose) {
    HookPost planned{composeRequest(pathOf(command), compose(payload)), reply};
    if (planned.request.size() <= requestLimit)
        return planned;
    PayloadTexts texts;
    if (!shorten(payload, texts, planned.request.size()))
        return std::nullopt;
    planned.request = composeRequest(pathOf(command), compose(payload));
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
    return post(Command::notify, payload, HookPost::Reply::ignored,
                [&](const Payload& notice) { return BodyComposer(notice, environment).take(); });
}

} // namespace

std::optional<HookPost> planPost(const HookCall& call, const CliAdapter* adapter, const Payload& payload,
                                 const HookEnvironment& environment, std::string_view requestId,
                                 const SessionStart& start) {
    if (call.command != Command::permission) {
        return post(call.command, payload, HookPost::Reply::ignored, [&](const Payload& told) {
            BodyComposer body(told, environment);
            // Our own application lists a session that it has missed with whatever comes of it.
            if (call.command == Command::registerSession || environment.helperProcess > 0)
                body.addSessionStart(start);
            return body.take();
        });
    }
    if (!adapter)
        return std::nullopt;
    const auto question = adapter->questionText ? adapter->questionText(payload) : std::nullopt;
    if (question)
        return questionNotice(payload, *question, environment);
    return post(call.command, payload, HookPost::Reply::awaited, [&](const Payload& asked) {
        BodyComposer body(asked, environment);
        body.addRequestId(requestId);
        if (environment.helperProcess > 0)
            body.addSessionStart(start);
        return body.take();
    });
}

} // namespace pelorin::hook
