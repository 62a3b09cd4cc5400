#include "BeaconryKit/terminal/ExpandedAsk.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

TEST(ExpandedAsk, ShowsTheScreenAndOffersItsOptions) {
    const AskEvent ask{.sessionId = "s1", .message = "Claude needs your permission", .tmuxPane = "%1"};
    AskEvent expected = ask;
    expected.detail = "Do you want to go?\n❯ 1. Yes\n  2. No";
    expected.options = {{"1", "Yes"}, {"2", "No"}};
    expected.acceptsText = false;
    EXPECT_EQ(expandedAsk(ask, "\n\nDo you want to go?\n\n❯ 1. Yes\n  2. No\n\n\n"), expected);
}

TEST(ExpandedAsk, TakesTextWhereThereIsNothingToPick) {
    const AskEvent ask = expandedAsk({.sessionId = "s1"}, "What is your name?\n");
    EXPECT_EQ(ask.detail, "What is your name?");
    EXPECT_TRUE(ask.options.isEmpty());
    EXPECT_TRUE(ask.acceptsText);
}

TEST(ExpandedAsk, KeepsTheLastTwentyLinesThatAreNotEmpty) {
    QStringList lines;
    for (int number = 1; number <= 30; ++number)
        lines << QString("line %1").arg(number) << "";
    const AskEvent ask = expandedAsk({}, lines.join('\n'));
    EXPECT_EQ(ask.detail.split('\n').size(), 20);
    EXPECT_TRUE(ask.detail.startsWith("line 11\nline 12\n"));
    EXPECT_TRUE(ask.detail.endsWith("\nline 30"));
    // Twenty are all kept.
    EXPECT_EQ(expandedAsk({}, lines.first(40).join('\n')).detail.count('\n'), 19);
    EXPECT_TRUE(expandedAsk({}, lines.first(40).join('\n')).detail.startsWith("line 1\n"));
}

TEST(ExpandedAsk, ReadsOptionsOffTheWholeScreen) {
    const AskEvent ask = expandedAsk({}, "1. First\n" + QString("text\n").repeated(25));
    EXPECT_THAT(ask.options, ElementsAre(PromptOption{"1", "First"}));
    EXPECT_FALSE(ask.detail.contains("First"));
}

TEST(ExpandedAsk, CountsALineOfBlanksAsALine) {
    EXPECT_EQ(expandedAsk({}, "a\n \n\r\n\nb").detail, "a\n \n\r\nb");
}

TEST(ExpandedAsk, ReplacesWhatAnEarlierScreenShowed) {
    AskEvent ask = expandedAsk({}, "1. Old");
    ask = expandedAsk(ask, "");
    EXPECT_EQ(ask.detail, "");
    EXPECT_TRUE(ask.options.isEmpty());
    EXPECT_TRUE(ask.acceptsText);
}

} // namespace
} // namespace pelorin
