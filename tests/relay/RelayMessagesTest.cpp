#include "BeaconryKit/relay/RelayMessages.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Decisions = QList<RelayDecision>;

const RelayMessage ignored = std::monostate{};

TEST(RelayMessage, ReadsDecisionsInOrderAndSkipsWhatIsIncomplete) {
    EXPECT_EQ(relayMessage(R"({"type":"decision","decisions":[
                  {"id":"r1","decision":"allow"}, {"id":7,"decision":"allow"}, {"id":"r2"}, {"decision":"deny"}, "r3",
                  {"id":"r4","decision":null}, {"id":"","decision":"","more":1}, {"id":"r5","decision":"whatever"}]})"),
              RelayMessage(Decisions{{"r1", "allow"}, {"", ""}, {"r5", "whatever"}}));
}

TEST(RelayMessage, MakesNothingOfDecisionsThatAreNone) {
    for (const char* text : {R"({"type":"decision","decisions":[]})", R"({"type":"decision"})",
                             R"({"type":"decision","decisions":{"id":"r1","decision":"allow"}})"})
        EXPECT_EQ(relayMessage(text), RelayMessage(Decisions{})) << text;
}

TEST(RelayMessage, ReadsWhatThePhonesTerminalSays) {
    const std::pair<const char*, RelayMessage> rows[] = {
        {R"({"type":"term-in","data":"ls\r"})", RelayTerminalInput{"ls\r"}},
        {R"({"type":"term-in","data":""})", RelayTerminalInput{""}},
        {R"({"type":"term-in"})", ignored},
        {R"({"type":"term-in","data":1})", ignored},
        {R"({"type":"term-in","data":null})", ignored},
        {R"({"type":"term-size","cols":132,"rows":50})", RelayTerminalSize{132, 50}},
        {R"({"type":"term-size","cols":40})", RelayTerminalSize{40, 24}},
        {R"({"type":"term-size","rows":10})", RelayTerminalSize{80, 10}},
        {R"({"type":"term-size"})", RelayTerminalSize{80, 24}},
        {R"({"type":"term-size","cols":"132","rows":true})", RelayTerminalSize{80, 24}},
        {R"({"type":"term-size","cols":80.5,"rows":30.0})", RelayTerminalSize{80, 30}},
        {R"({"type":"term-size","cols":0,"rows":65535})", RelayTerminalSize{0, 65'535}},
        // What no terminal can have must never reach the shell.
        {R"({"type":"term-size","cols":-1,"rows":65536})", RelayTerminalSize{80, 24}},
        {R"({"type":"term-size","cols":1e300,"rows":9223372036854775807})", RelayTerminalSize{80, 24}},
        {R"({"type":"term-new"})", RelayNewShell{}},
        {R"({"type":"term-new","data":"ls"})", RelayNewShell{}},
    };
    for (const auto& [text, message] : rows)
        EXPECT_EQ(relayMessage(text), message) << text;
}

TEST(RelayMessage, IgnoresEverythingElse) {
    const char* const texts[] = {"",
                                 "hello",
                                 "[]",
                                 "\"decision\"",
                                 "{}",
                                 R"({"type":1})",
                                 R"({"type":null,"data":"x"})",
                                 R"({"type":"Decision","decisions":[{"id":"r1","decision":"allow"}]})",
                                 R"({"type":"term-in ","data":"x"})",
                                 R"({"type":"ready"})",
                                 R"({"type":"term-out","data":"x"})",
                                 R"([{"type":"term-new"}])",
                                 R"({"type":"term-new"} x)",
                                 "{\"type\":\"term-in\",\"data\":\"\xff\"}",
                                 R"({"type":"term-new")"};
    for (const char* text : texts)
        EXPECT_EQ(relayMessage(text), ignored) << text;
    EXPECT_EQ(relayMessage(QByteArray(100'000, '[')), ignored);
}

TEST(PollReply, GivesTheCompleteDecisionsInOrder) {
    EXPECT_THAT(
        relayDecisions(R"({"decisions":[{"id":"r1","decision":"allow"},{"id":2,"decision":"allow"},{"id":"r3"}]})"),
        ElementsAre(RelayDecision{"r1", "allow"}));
    EXPECT_THAT(relayDecisions(R"({"decisions":[{"id":"b","decision":"deny"},{"id":"a","decision":"allow"}],"n":1})"),
                ElementsAre(RelayDecision{"b", "deny"}, RelayDecision{"a", "allow"}));
}

TEST(PollReply, GivesNothingWhenItIsNotWhatItShouldBe) {
    for (const char* body : {"", "no", "<html>", R"([{"id":"r1","decision":"allow"}])", "{}", R"({"decisions":null})",
                             R"({"decisions":{"id":"r1","decision":"allow"}})", R"({"decisions":["r1",[],null,3]})"})
        EXPECT_THAT(relayDecisions(body), IsEmpty()) << body;
}

TEST(DeviceList, FillsInWhatAPhoneLacks) {
    const auto devices = relayDevices(R"({"devices":[
        {"id":"d1","label":"Ann's phone","country":"NO","ua":"Safari"}, {}, {"id":1,"label":2,"country":[],"ua":null},
        "no phone", {"label":""}]})");
    ASSERT_TRUE(devices);
    EXPECT_THAT(*devices, ElementsAre(RelayDevice{.id = "d1", .label = "Ann's phone", .country = "NO", .ua = "Safari"},
                                      RelayDevice{.id = "", .label = "phone", .country = "", .ua = ""},
                                      RelayDevice{.id = "", .label = "phone", .country = "", .ua = ""},
                                      RelayDevice{.id = "", .label = "", .country = "", .ua = ""}));
}

TEST(DeviceList, TellsNoPhonesFromNoList) {
    EXPECT_EQ(relayDevices(R"({"devices":[]})"), QList<RelayDevice>());
    for (const char* body : {"", "{}", "[]", R"({"devices":{}})", R"({"devices":null})", "nonsense"})
        EXPECT_EQ(relayDevices(body), std::nullopt) << body;
}

TEST(ProvisioningReply, GivesTheTokenWithoutBlanks) {
    EXPECT_EQ(relayToken(R"({"token":" \tabc \t","more":true})"), "abc");
    EXPECT_EQ(relayToken(R"({"token":"a b\n"})"), "a b\n");
    for (const char* body : {"", "abc", "[]", "{}", R"({"token":""})", R"({"token":" \t "})", R"({"token":1})",
                             R"({"token":null})", R"({"token":["a"]})", R"({"Token":"a"})"})
        EXPECT_EQ(relayToken(body), std::nullopt) << body;
}

TEST(PushBody, HasSixKeysOfEachAsk) {
    const auto received = WallTime(std::chrono::microseconds(1'700'000'000'123'456));
    const SharedAsks asks{std::make_shared<AskEvent>(AskEvent{.sessionId = "s1",
                                                              .cwd = "/home/ann/boat/.claude/worktrees/x",
                                                              .receivedAt = received,
                                                              .requestId = "r1",
                                                              .toolName = "Bash",
                                                              .actionSummary = "make check"}),
                          std::make_shared<AskEvent>(AskEvent{
                              .sessionId = "s2", .message = "waiting", .receivedAt = WallTime{}, .source = "codex"})};
    const QJsonArray expected{QJsonObject{{"id", "r1"},
                                          {"project", "boat"},
                                          {"message", "Bash: make check"},
                                          {"isPermission", true},
                                          {"source", "claude"},
                                          {"at", 1'700'000'000'123.456}},
                              QJsonObject{{"id", "s2"},
                                          {"project", "unknown"},
                                          {"message", "waiting"},
                                          {"isPermission", false},
                                          {"source", "codex"},
                                          {"at", 0.0}}};
    EXPECT_EQ(relayAsks(asks), expected);
    EXPECT_TRUE(relayAsks(asks).at(0)["at"].isDouble());
    EXPECT_EQ(relayAsks({}), QJsonArray());
}

TEST(Hello, IsExact) {
    EXPECT_EQ(relayHello(PhoneTerminal::enabled), R"({"type":"hello","term":true})");
    EXPECT_EQ(relayHello(PhoneTerminal::disabled), R"({"type":"hello","term":false})");
}

TEST(TerminalOutput, IsAnObjectOfTwoStrings) {
    const QString output = QStringLiteral("\x1b[1m\"Grüße\"\r\n\t\\ 🙂");
    const QByteArray text = relayTerminalOutput(output).toUtf8();
    EXPECT_FALSE(text.contains('\n'));
    EXPECT_EQ(QJsonDocument::fromJson(text).object(), (QJsonObject{{"type", "term-out"}, {"data", output}}));
}

} // namespace
} // namespace pelorin
