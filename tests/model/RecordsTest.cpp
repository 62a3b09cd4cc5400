#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/model/AutoDecision.h"
#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/model/Decision.h"
#include "BeaconryKit/model/PathText.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/sessions/RelayDefaults.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

TEST(AutoDecision, HasItsWordsAndNamesInOrder) {
    EXPECT_THAT(allAutoDecisions, ElementsAre(AutoDecision::wait, AutoDecision::allow, AutoDecision::deny));
    const std::tuple<AutoDecision, const char*, const char*> rows[] = {
        {AutoDecision::wait, "wait", "Wait for me"},
        {AutoDecision::allow, "allow", "Auto-allow"},
        {AutoDecision::deny, "deny", "Auto-deny"},
    };
    for (const auto& [policy, word, name] : rows) {
        EXPECT_EQ(rawValue(policy), word);
        EXPECT_EQ(displayName(policy), name);
        EXPECT_EQ(autoDecisionFromRawValue(word), policy);
    }
    for (const char* other : {"Allow", "", "ask", "allow ", "WAIT"})
        EXPECT_EQ(autoDecisionFromRawValue(other), std::nullopt) << other;
}

TEST(Decision, HasItsWords) {
    const std::pair<Decision, const char*> rows[] = {
        {Decision::allow, "allow"}, {Decision::deny, "deny"}, {Decision::ask, "ask"}};
    for (const auto& [decision, word] : rows) {
        EXPECT_EQ(rawValue(decision), word);
        EXPECT_EQ(decisionFromRawValue(word), decision);
    }
    for (const char* other : {"Allow", "", "wait", "deny\n"})
        EXPECT_EQ(decisionFromRawValue(other), std::nullopt) << other;
}

TEST(AskAction, ComparesByCaseAndContent) {
    EXPECT_EQ(AskAction::option(2), AskAction::option(2));
    EXPECT_NE(AskAction::option(2), AskAction::option(1));
    EXPECT_EQ(AskAction::text("a"), AskAction::text("a"));
    EXPECT_NE(AskAction::text("a"), AskAction::text("b"));
    EXPECT_NE(AskAction::allow(), AskAction::deny());
    const AskAction inOrder[] = {AskAction::option(0), AskAction::text({}), AskAction::open(),  AskAction::dismiss(),
                                 AskAction::allow(),   AskAction::deny(),   AskAction::expand()};
    for (std::size_t index = 0; index < std::size(inOrder); ++index)
        EXPECT_EQ(inOrder[index].value.index(), index);
}

TEST(AskChoice, CarriesADecisionAnOptionOrAText) {
    EXPECT_EQ(std::get<Decision>(AskChoice::decision(Decision::deny).value), Decision::deny);
    EXPECT_EQ(std::get<AskChoice::Option>(AskChoice::option(3).value).index, 3);
    EXPECT_EQ(std::get<AskChoice::Text>(AskChoice::text("x").value).text, "x");
    EXPECT_NE(AskChoice::decision(Decision::allow), AskChoice::decision(Decision::ask));
}

TEST(AnswerResult, ComparesFailuresByTheirMessage) {
    EXPECT_EQ(AnswerResult::failed("a"), AnswerResult::failed("a"));
    EXPECT_NE(AnswerResult::failed("a"), AnswerResult::failed("b"));
    EXPECT_NE(AnswerResult::injected(), AnswerResult::needsTerminal());
    EXPECT_EQ(AnswerResult::resolvedViaHook(), AnswerResult::resolvedViaHook());
}

TEST(SessionInfo, ShowsItsLabelElseItsProject) {
    EXPECT_EQ((SessionInfo{.cwd = "/x/y", .label = "api"}).displayName(), "api");
    EXPECT_EQ((SessionInfo{.cwd = "/x/y"}).displayName(), "y");
    EXPECT_EQ(SessionInfo{}.displayName(), "unknown");
    EXPECT_EQ(SessionInfo{.sessionId = "s"}.id(), "s");
    // The folder of a sub-agent is not looked through here.
    EXPECT_EQ((SessionInfo{.cwd = "/x/y/.claude/worktrees/z"}).projectName(), "z");
    EXPECT_EQ(SessionInfo{}.projectName(), "unknown");
}

TEST(LastPathComponent, LeavesTrailingSlashesAside) {
    EXPECT_EQ(lastPathComponent(u"/a/b//"), "b");
    EXPECT_EQ(lastPathComponent(u"b"), "b");
    EXPECT_EQ(lastPathComponent(u"//"), "/");
    EXPECT_EQ(lastPathComponent(u""), "");
}

TEST(RelayDefaults, PointAtAReservedNameWithoutAToken) {
    EXPECT_EQ(RelayDefaults::url(), "https://relay.pelorin.example");
    EXPECT_EQ(RelayDefaults::token(), "");
}

TEST(TrimBlanks, TakesSpacesAndTabsOnly) {
    EXPECT_EQ(trimBlanks(" \t a b\t "), "a b");
    EXPECT_EQ(trimBlanks("\na\n"), "\na\n");
    EXPECT_EQ(trimBlanks(" \t"), "");
    EXPECT_EQ(trimBlanks(""), "");
}

} // namespace
} // namespace pelorin
