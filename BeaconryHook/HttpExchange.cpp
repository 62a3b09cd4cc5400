#include "BeaconryHook/HttpExchange.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"
#include "BeaconryBase/WholeNumber.h"

namespace pelorin::hook {

namespace {

constexpr std::string_view lineEnd = "\r\n";

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool equalsLowered(std::string_view text, std::string_view lowerCase) {
    if (text.size() != lowerCase.size())
        return false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (lowered(text[index]) != lowerCase[index])
            return false;
    }
    return true;
}

std::string_view trimmed(std::string_view text, std::string_view spaces) {
    const std::size_t start = text.find_first_not_of(spaces);
    if (start == std::string_view::npos)
        return {};
    return text.substr(start, text.find_last_not_of(spaces) - start + 1);
}

struct ReplyHead {
    /// The announced size of the body; without one the body lasts until the connection ends.
    std::optional<std::size_t> bodySize;
};

// `head` ends with its last line's end. Nothing when it is not the head of a good reply.
std::optional<ReplyHead> parseHead(std::string_view head) {
    constexpr std::size_t versionSize = std::string_view("HTTP/1.1").size();
    const std::string_view statusLine = head.substr(0, head.find(lineEnd));
    if (statusLine.size() < versionSize || !statusLine.starts_with("HTTP/1.") ||
        !statusLine.substr(versionSize).starts_with(" 200 "))
        return std::nullopt;
    ReplyHead parsed;
    std::string_view rest = head.substr(statusLine.size() + lineEnd.size());
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find(lineEnd));
        rest.remove_prefix(line.size() + lineEnd.size());
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            return std::nullopt;
        if (equalsLowered(line.substr(0, colon), "transfer-encoding"))
            return std::nullopt;
        if (!equalsLowered(line.substr(0, colon), "content-length"))
            continue;
        const std::string_view value = trimmed(line.substr(colon + 1), " \t");
        parsed.bodySize = wholeNumber<std::size_t>(value);
        if (!parsed.bodySize || *parsed.bodySize > replyLimit)
            return std::nullopt;
    }
    return parsed;
}

Decision decisionInBody(std::string_view body) {
    ObjectScanner scanner;
    if (scanner.feed(body) != ObjectScanner::Progress::complete)
        return Decision::ask;
    if (!trimmed(body.substr(scanner.consumed()), " \t\r\n").empty())
        return Decision::ask;
    const std::string_view value = jsonMember(trimmed(body, " \t\r\n"), "decision");
    if (jsonStringEquals(value, "allow"))
        return Decision::allow;
    if (jsonStringEquals(value, "deny"))
        return Decision::deny;
    return Decision::ask;
}

} // namespace

std::optional<Decision> decisionIn(std::string_view reply, Connection connection) {
    const std::optional<Decision> undecided =
        connection == Connection::open ? std::nullopt : std::optional(Decision::ask);
    if (reply.size() > replyLimit)
        return Decision::ask;
    const std::size_t headEnd = reply.find("\r\n\r\n");
    if (headEnd == std::string_view::npos)
        return undecided;
    const std::optional<ReplyHead> head = parseHead(reply.substr(0, headEnd + lineEnd.size()));
    if (!head)
        return Decision::ask;
    const std::string_view body = reply.substr(headEnd + 2 * lineEnd.size());
    if (!head->bodySize)
        return connection == Connection::open ? std::nullopt : std::optional(decisionInBody(body));
    if (body.size() < *head->bodySize)
        return undecided;
    return decisionInBody(body.substr(0, *head->bodySize));
}

std::string composeRequest(std::string_view path, std::string_view body) {
    std::string request;
    request.reserve(body.size() + 160);
    request += "POST ";
    request += path;
    request +=
        " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: ";
    request += std::to_string(body.size());
    request += "\r\n\r\n";
    request += body;
    return request;
}

} // namespace pelorin::hook
