#include "tests/interface/SampleAsks.h"

#include "BeaconryKit/interface/asks/CountdownClock.h"

#include <gtest/gtest.h>

namespace pelorin {

// Found by argument-dependent look-up.
static void PrintTo(const Countdown& countdown, std::ostream* stream) {
    *stream << "phase " << static_cast<int>(countdown.phase) << " '" << countdown.text.toStdString() << "'";
}

namespace {

using namespace std::chrono_literals;
using Phase = Countdown::Phase;

struct Case {
    qint64 waitSeconds;
    std::chrono::milliseconds age;
    Countdown expected;
};

class CountdownLabel : public ::testing::TestWithParam<Case> {};

TEST_P(CountdownLabel, SaysHowLongTheAnswerMayStillBeGivenHere) {
    const WallTime receivedAt(1'700'000'000'123ms);
    EXPECT_EQ(countdownLabel(receivedAt, GetParam().waitSeconds, receivedAt + GetParam().age), GetParam().expected);
}

const Countdown none{};
const Countdown over{Phase::over, QStringLiteral("→ terminal")};

Countdown running(const QString& text) {
    return {Phase::running, text};
}

Countdown urgent(const QString& text) {
    return {Phase::urgent, text};
}

INSTANTIATE_TEST_SUITE_P(
    Countdown, CountdownLabel,
    ::testing::Values(
        // No wait, no label, however old.
        Case{0, 0ms, none}, Case{-3, 0ms, none}, Case{0, 1h, none},
        // Whole seconds, rounded up.
        Case{45, 0ms, running(QStringLiteral("45s left"))}, Case{45, 1ms, running(QStringLiteral("45s left"))},
        Case{45, 999ms, running(QStringLiteral("45s left"))}, Case{45, 1000ms, running(QStringLiteral("44s left"))},
        Case{45, 3000ms, running(QStringLiteral("42s left"))}, Case{580, 0ms, running(QStringLiteral("580s left"))},
        // 11 is still calm, 10 is not.
        Case{45, 34'000ms, running(QStringLiteral("11s left"))},
        Case{45, 34'001ms, running(QStringLiteral("11s left"))},
        Case{45, 34'999ms, running(QStringLiteral("11s left"))}, Case{45, 35'000ms, urgent(QStringLiteral("10s left"))},
        Case{5, 0ms, urgent(QStringLiteral("5s left"))},
        // The last second stands until the very end.
        Case{45, 44'000ms, urgent(QStringLiteral("1s left"))}, Case{45, 44'999ms, urgent(QStringLiteral("1s left"))},
        Case{45, 45'000ms, over}, Case{45, 45'001ms, over}, Case{45, 24h, over}, Case{1, 1000ms, over},
        // The clock was set back.
        Case{45, -10'000ms, running(QStringLiteral("55s left"))}));

TEST(CountdownLabelOfItsOwnEnd, CountsDownToThatAndNotByTheGeneralWait) {
    const WallTime arrival{100s};
    AskEvent ask = permissionAsk(QStringLiteral("a"), arrival);
    CountdownClock clock{.waitSeconds = 300, .now = arrival + 10s};
    EXPECT_EQ(clock.label(ask).text, QStringLiteral("290s left"));
    EXPECT_TRUE(clock.takesDecision(ask));
    clock.endOfWait = [&](const QString& id) {
        return id == ask.id() ? std::optional(arrival + 45s) : std::nullopt;
    };
    EXPECT_EQ(clock.label(ask), (Countdown{Countdown::Phase::running, QStringLiteral("35s left")}));
    clock.now = arrival + 44s + 1ms;
    EXPECT_EQ(clock.label(ask), (Countdown{Countdown::Phase::urgent, QStringLiteral("1s left")}));
    EXPECT_TRUE(clock.takesDecision(ask));
    clock.now = arrival + 45s;
    EXPECT_EQ(clock.label(ask), (Countdown{Countdown::Phase::over, QStringLiteral("→ terminal")}));
    EXPECT_FALSE(clock.takesDecision(ask));
    EXPECT_FALSE(clock.isRunning(ask));
    // One that nobody knows the end of goes by the general wait, and stays open.
    AskEvent other = permissionAsk(QStringLiteral("b"), arrival);
    EXPECT_EQ(clock.label(other).text, QStringLiteral("255s left"));
    clock.waitSeconds = 5;
    EXPECT_EQ(clock.label(other).phase, Countdown::Phase::over);
    EXPECT_TRUE(clock.takesDecision(other));
    EXPECT_FALSE(clock.takesDecision(noticeAsk(QStringLiteral("c"))));
}

} // namespace
} // namespace pelorin
