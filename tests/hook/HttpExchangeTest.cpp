#include "BeaconryHook/HttpExchange.h"

#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

constexpr std::string_view allowReply = "HTTP/1.1 200 OK\r\nContent-Length: 20\r\nContent-Type: application/json\r\n"
                                        "Connection: close\r\n\r\n{\"decision\":\"allow\"}";

std::string replyWith(std::string_view body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

TEST(DecisionIn, ReadsTheApplicationsReplies) {
    const std::pair<std::string_view, Decision> table[] = {
        {R"({"decision":"allow"})", Decision::allow},
        {R"({"decision":"deny"})", Decision::deny},
        {R"({"decision":"ask"})", Decision::ask},
        {R"({"decision":"ask","why":"decode"})", Decision::ask},
        {R"({"decision":"ask","why":"filtered"})", Decision::ask},
        {R"({ "why": "x", "decision" : "allow" })", Decision::allow},
        {R"({"decision":"allow","decision":"deny"})", Decision::deny},
        {" {\"decision\":\"deny\"}\r\n", Decision::deny},
    };
    for (const auto& [body, decision] : table) {
        EXPECT_EQ(decisionIn(replyWith(body), Connection::open), decision) << body;
        EXPECT_EQ(decisionIn(replyWith(body), Connection::ended), decision) << body;
    }
}

TEST(DecisionIn, TakesAnythingElseForAsk) {
    const std::string_view bodies[] = {
        "",
        "ok",
        "allow",
        "\"allow\"",
        R"(["allow"])",
        R"({"decision":"Allow"})",
        R"({"decision":"allowed"})",
        R"({"decision":true})",
        R"({"decision":{"decision":"allow"}})",
        R"({"x":{"decision":"allow"}})",
        R"({"decision":"allow")",
        R"({"decision":"allow"}})",
        R"({"decision":"allow"}{"decision":"allow"})",
        R"({decision:"allow"})",
        R"({"decision":"allow",})",
    };
    for (const std::string_view body : bodies)
        EXPECT_EQ(decisionIn(replyWith(body), Connection::open), Decision::ask) << body;
}

TEST(DecisionIn, WaitsForTheWholeReply) {
    for (std::size_t size = 0; size < allowReply.size(); ++size) {
        EXPECT_EQ(decisionIn(allowReply.substr(0, size), Connection::open), std::nullopt) << size;
        EXPECT_EQ(decisionIn(allowReply.substr(0, size), Connection::ended), Decision::ask) << size;
    }
    EXPECT_EQ(decisionIn(allowReply, Connection::open), Decision::allow);
}

TEST(DecisionIn, PassesOverWhatFollowsTheAnnouncedBody) {
    EXPECT_EQ(decisionIn(std::string(allowReply) + "garbage", Connection::open), Decision::allow);
}

TEST(DecisionIn, TakesABodyWithoutAnAnnouncedSizeUpToTheEndOfTheConnection) {
    constexpr std::string_view reply = "HTTP/1.0 200 OK\r\n\r\n{\"decision\":\"deny\"}";
    EXPECT_EQ(decisionIn(reply, Connection::open), std::nullopt);
    EXPECT_EQ(decisionIn(reply, Connection::ended), Decision::deny);
    EXPECT_EQ(decisionIn(reply.substr(0, reply.size() - 1), Connection::ended), Decision::ask);
}

TEST(DecisionIn, KnowsHeadersWithoutRegardToCase) {
    EXPECT_EQ(decisionIn("HTTP/1.1 200 OK\r\ncONTENT-lENGTH: \t20 \r\n\r\n{\"decision\":\"allow\"}", Connection::open),
              Decision::allow);
}

TEST(DecisionIn, TrustsOnlyAGoodHead) {
    const std::string_view heads[] = {
        "HTTP/1.1 404 Not Found\r\nContent-Length: 20\r\n\r\n",
        "HTTP/1.1 2000 OK\r\nContent-Length: 20\r\n\r\n",
        "HTTP/2 200 OK\r\nContent-Length: 20\r\n\r\n",
        "ICY 200 OK\r\nContent-Length: 20\r\n\r\n",
        "200 OK\r\nContent-Length: 20\r\n\r\n",
        "\r\n\r\n",
        "HTTP/1.\r\n\r\n",
        "HTTP/1.1\r\n\r\n",
        "HTTP/1.1 200\r\n\r\n",
        "HTTP/1.1 20\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: -20\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 20x\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length:\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 65537\r\n\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
        "HTTP/1.1 200 OK\r\nno header\r\nContent-Length: 20\r\n\r\n",
    };
    for (const std::string_view head : heads)
        EXPECT_EQ(decisionIn(std::string(head) + R"({"decision":"allow"})", Connection::ended), Decision::ask) << head;
}

TEST(DecisionIn, GivesUpAReplyThatGrowsTooLarge) {
    const std::string endless = "HTTP/1.1 200 OK\r\nX: " + std::string(replyLimit, 'x');
    EXPECT_EQ(decisionIn(endless, Connection::open), Decision::ask);
    EXPECT_EQ(decisionIn(endless.substr(0, replyLimit), Connection::open), std::nullopt);
}

TEST(ComposeRequest, PostsTheBodyWithItsSizeInBytes) {
    EXPECT_EQ(composeRequest("/event", "{\"a\":\"\xc3\xa9\"}"),
              "POST /event HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\nConnection: close\r\n"
              "Content-Length: 10\r\n\r\n{\"a\":\"\xc3\xa9\"}");
}

} // namespace
} // namespace pelorin::hook
