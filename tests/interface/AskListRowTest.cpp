#include "BeaconryKit/interface/asks/AskListRow.h"

#include "tests/interface/SampleAsks.h"

#include "BeaconryKit/interface/asks/AskRole.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const RowArming::Moment later{1h};
const WallTime now(1'700'000'000s);

SharedAsk shared(const AskEvent& ask) {
    return std::make_shared<const AskEvent>(ask);
}

TEST(AskListRowTest, KeepsWhatTheUserDidToItWhenTheAskChanges) {
    AskListRow row(shared(permissionAsk(QStringLiteral("a"))), later);
    EXPECT_FALSE(row.setFold(AskListRow::Fold::collapsed));
    EXPECT_TRUE(row.setFold(AskListRow::Fold::expanded));
    EXPECT_TRUE(row.setDraft(QStringLiteral("half")));
    EXPECT_FALSE(row.setDraft(QStringLiteral("half")));
    row.update(shared(withAnswers(permissionAsk(QStringLiteral("a")), {QStringLiteral("Yes")})), later);
    EXPECT_EQ(row.data(expandedRole, {}), true);
    EXPECT_EQ(row.data(draftRole, {}), QStringLiteral("half"));
    EXPECT_EQ(row.data(optionLabelsRole, {}).toStringList(), QStringList{QStringLiteral("Yes")});
}

TEST(AskListRowTest, ToldOfOtherAnswersItTakesNoClicksForAWhile) {
    AskListRow row(shared(noticeAsk(QStringLiteral("s"))), later);
    row.arming().armIfDue(later);
    const AskEvent answers = withAnswers(noticeAsk(QStringLiteral("s")), {QStringLiteral("Yes")});
    EXPECT_EQ(row.update(shared(answers), later + 1s),
              QList<int>({detailRole, questionRole, optionLabelsRole, acceptsTextRole, armedRole}));
    EXPECT_EQ(row.arming().armsAt(), later + 1s);
    EXPECT_EQ(row.update(shared(answers), later + 2s), QList<int>());
    EXPECT_EQ(row.arming().armsAt(), later + 1s);
}

TEST(AskListRowTest, CountsDownByTheClockItIsGiven) {
    const AskListRow row(shared(permissionAsk(QStringLiteral("a"), now)), later);
    EXPECT_EQ(row.data(countdownTextRole, {}), QString());
    EXPECT_EQ(row.data(countdownTextRole, {45, now}), QStringLiteral("45s left"));
    EXPECT_EQ(row.data(countdownIsUrgentRole, {45, now}), false);
    EXPECT_EQ(row.data(countdownIsUrgentRole, {45, now + 40s}), true);
    EXPECT_EQ(row.data(countdownIsOverRole, {45, now + 45s}), true);
}

TEST(AskListRowTest, OffersNothingForARoleThatItDoesNotKnow) {
    const AskListRow row(shared(permissionAsk(QStringLiteral("a"))), later);
    EXPECT_FALSE(row.data(armedRole + 1, {}).isValid());
}

} // namespace
} // namespace pelorin
