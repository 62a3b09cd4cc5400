// Feeds the hook helper what a CLI, the environment and the application might hand it. Beyond not falling over,
// whatever comes in, it must cut the input into objects in one way only, and hand on nothing that another reader of
// JSON could stumble over.

#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"
#include "BeaconryBase/ServicePort.h"
#include "BeaconryHook/CliAdapter.h"
#include "BeaconryHook/HookPost.h"
#include "BeaconryHook/HttpExchange.h"
#include "BeaconryHook/ProcessTerminal.h"
#include "BeaconryHook/ShortenedJson.h"
#include "BeaconryHook/ToolUses.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace pelorin;
using namespace pelorin::hook;
using Progress = ObjectScanner::Progress;

void require(bool condition) {
    if (!condition)
        std::abort();
}

void requireSameScan(std::string_view input, std::size_t cut, const ObjectScanner& whole) {
    ObjectScanner inPieces;
    inPieces.feed(input.substr(0, cut));
    inPieces.feed(input.substr(cut));
    require(inPieces.progress() == whole.progress());
    require(inPieces.consumed() == whole.consumed());
    require(inPieces.deepest() == whole.deepest());
    require(inPieces.rawControl() == whole.rawControl());
}

void requireOneObject(std::string_view text) {
    ObjectScanner scanner;
    require(scanner.feed(text) == Progress::complete);
    require(scanner.consumed() == text.size());
}

// Nothing raw in strings: no control character but the white space between values, and valid UTF-8, which repairing it
// once more would leave alone.
void requireClean(std::string_view text) {
    ObjectScanner scanner;
    scanner.feed(text);
    require(!scanner.rawControl());
    require(isUtf8(text));
    std::string again;
    appendRepaired(again, text);
    require(again == text);
}

// Every part of a complete object, handed out by the readers, is a complete value.
void requireWholeValues(std::string_view value, int depth) {
    requireOneObject(R"({"v":)" + std::string(value) + "}");
    // Each level looks at all the text below it again.
    if (depth == 6)
        return;
    JsonMemberReader members(value);
    while (const auto member = members.next()) {
        requireOneObject("{" + std::string(member->name) + ":0}");
        requireWholeValues(member->value, depth + 1);
    }
    JsonElementReader elements(value);
    while (const auto element = elements.next())
        requireWholeValues(*element, depth + 1);
}

std::string_view bodyOf(std::string_view request) {
    return request.substr(request.find("\r\n\r\n") + 4);
}

void checkPosts(std::string_view object, std::string_view text, const CliAdapter* adapter) {
    PayloadTexts texts;
    const Payload payload = readPayload(object, adapter, texts);
    for (const Command command :
         {Command::permission, Command::notify, Command::clear, Command::registerSession, Command::unregisterSession}) {
        const HookEnvironment environment{.source = adapter->source,
                                          .tty = text,
                                          .terminalProgram = text,
                                          .tmuxPane = text,
                                          .weztermPane = text,
                                          .kittyWindowId = text};
        const SessionStart start{.label = text, .isOptedIn = true};
        const auto post = planPost({.command = command}, adapter, payload, environment, "id", start);
        if (!post)
            continue;
        const std::string_view body = bodyOf(post->request);
        requireOneObject(body);
        requireClean(body);
        require(jsonStringEquals(jsonMember(body, "source"), adapter->source));
        if (post->reply == HookPost::Reply::awaited)
            require(jsonStringEquals(jsonMember(body, "request_id"), "id"));
        else
            require(jsonMember(body, "request_id").empty());
        std::string sessionId;
        appendRepaired(sessionId, payload.sessionId);
        require(jsonMember(body, "session_id") == sessionId);
    }
    require(adapter->answer(Decision::ask, payload).empty());
    for (const Decision decision : {Decision::allow, Decision::deny}) {
        const std::string answer = adapter->answer(decision, payload);
        if (!answer.starts_with('{'))
            continue;
        requireOneObject(answer);
        requireClean(answer);
    }
}

// Whatever is to be shortened fits, and stays an object.
void requireShortened(std::string_view object) {
    std::string repaired;
    appendRepaired(repaired, object);
    for (const std::size_t size : {leastShortenedSize, repaired.size() / 2}) {
        if (size < leastShortenedSize)
            continue;
        const std::string shortened = shortenedJson(repaired, size);
        require(shortened.size() <= size);
        requireOneObject(shortened);
        requireClean(shortened);
    }
}

// A session's record is read, whatever stands in it.
void readAsRecord(std::string_view lines) {
    ToolUses uses;
    uses.read(lines);
    for (const ToolUses::Use& use : uses.pending()) {
        require(!AnswerWatch(use.name, use.input).isAnswered(uses));
        adapterFor("claude")->useText(use.name, use.input);
    }
    adapterFor("codex")->asksNobody(lines);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);

    ObjectScanner whole;
    whole.feed(input);
    require(whole.consumed() <= size);
    const std::size_t step = size < 64 ? 1 : size / 16;
    for (std::size_t cut = 0; cut <= size; cut += step)
        requireSameScan(input, cut, whole);
    ObjectScanner byByte;
    for (const char byte : input)
        byByte.feed(std::string_view(&byte, 1));
    require(byByte.progress() == whole.progress() && byByte.consumed() == whole.consumed());

    // What stands in the environment need not be JSON, or anything.
    std::string text;
    appendJsonString(text, input);
    requireOneObject("{\"v\":" + text + "}");
    requireClean(text);
    std::string twice;
    appendJsonString(twice, decodedJsonString(text));
    require(twice == text);

    if (whole.progress() == Progress::complete) {
        const std::string_view object = input.substr(input.find('{'), whole.consumed() - input.find('{'));
        std::string repaired;
        appendRepaired(repaired, object);
        requireOneObject(repaired);
        requireClean(repaired);
        requireWholeValues(object, 0);
        requireShortened(object);
        for (const std::string_view source : {"claude", "codex", "gemini", "opencode", "cursor"})
            checkPosts(object, input, adapterFor(source));
    } else {
        // Even of text that is no object the readers must come to an end.
        JsonMemberReader members(input);
        while (members.next()) {
        }
        JsonElementReader elements(input);
        while (elements.next()) {
        }
        decodedJsonString(input);
    }

    const auto early = decisionIn(input, Connection::open);
    const auto late = decisionIn(input, Connection::ended);
    require(late.has_value());
    require(!early || early == late);
    const auto asBody = decisionIn("HTTP/1.1 200 OK\r\n\r\n" + std::string(input), Connection::ended);
    require(asBody.has_value());

    readAsRecord(input);
    parseProcessStat(input);
    processIdIn(input);
    servicePort(input);
    return 0;
}
