#include "tests/interface/PanelFixture.h"

#include <QGuiApplication>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

class PanelCountdownTest : public PanelFixture {
protected:
    QQuickItem* label(const QString& askId) { return itemsOfType(row(askId), "CountdownLabel").first(); }
    QString text(const QString& askId) { return label(askId)->property("text").toString(); }
    QQuickItem* words(const QString& askId) { return itemsOfType(label(askId), "QQuickText").first(); }
    QQuickItem* clock(const QString& askId) { return itemsOfType(label(askId), "pelorin::SymbolItem").first(); }
    QColor colour(const QString& askId) { return words(askId)->property("color").value<QColor>(); }
};

TEST_F(PanelCountdownTest, CountsSecondsDown) {
    store.upsert(permission(a));
    settle();
    EXPECT_EQ(text(a), QStringLiteral("45s left"));
    EXPECT_TRUE(clock(a)->isVisible());
    EXPECT_EQ(clock(a)->property("symbol"), QStringLiteral("clock"));
    dispatch.advance(3s);
    EXPECT_EQ(text(a), QStringLiteral("42s left"));
    dispatch.advance(42s);
    EXPECT_EQ(text(a), QStringLiteral("→ terminal"));
    EXPECT_FALSE(clock(a)->isVisible());
}

TEST_F(PanelCountdownTest, IsYellowAndThenOrange) {
    store.upsert(permission(a));
    settle();
    dispatch.advance(34s);
    ASSERT_EQ(text(a), QStringLiteral("11s left"));
    EXPECT_NEAR(colour(a).alphaF(), 0.7, 0.01);
    EXPECT_NEAR(colour(a).hsvHue(), 50, 12);
    EXPECT_EQ(clock(a)->property("color").value<QColor>().rgba(), colour(a).rgba());
    dispatch.advance(1s);
    ASSERT_EQ(text(a), QStringLiteral("10s left"));
    EXPECT_EQ(colour(a).alphaF(), 1);
    EXPECT_NEAR(colour(a).hsvHue(), 29, 8);
}

TEST_F(PanelCountdownTest, IsSetInNinePointMediumWithFivePointsAround) {
    store.upsert(permission(a));
    settle();
    const QFont font = words(a)->property("font").value<QFont>();
    EXPECT_EQ(font.pointSizeF(), 9);
    EXPECT_EQ(font.weight(), QFont::Medium);
    EXPECT_EQ(font.family(), QGuiApplication::font().family());
    const QRectF content = rectangleIn(words(a)->parentItem(), label(a));
    EXPECT_EQ(content.left(), 5);
    EXPECT_EQ(content.right(), label(a)->width() - 5);
    EXPECT_EQ(content.top(), 5);
    EXPECT_EQ(content.bottom(), label(a)->height() - 5);
}

TEST_F(PanelCountdownTest, FollowsTheWaitThatIsSet) {
    store.upsert(permission(a));
    settle();
    settings.setDecisionWaitSeconds(120);
    dispatch.runDue();
    EXPECT_EQ(text(a), QStringLiteral("120s left"));
}

TEST_F(PanelCountdownTest, FollowsTheAsksOwnWaitWhereThatIsKnown) {
    controller->setEndOfWait(
        [end = dispatch.now() + 45s](const QString& id) { return id == a ? std::optional(end) : std::nullopt; });
    settings.setDecisionWaitSeconds(300);
    show({permission(a), permission(b)});
    EXPECT_EQ(text(a), QStringLiteral("45s left"));
    EXPECT_EQ(text(b), QStringLiteral("300s left"));
    settings.setDecisionWaitSeconds(10);
    dispatch.advance(40s);
    EXPECT_EQ(text(a), QStringLiteral("5s left"));
    EXPECT_EQ(text(b), QStringLiteral("→ terminal"));
}

TEST_F(PanelCountdownTest, NoDecisionIsTakenThatNothingWaitsFor) {
    controller->setEndOfWait([end = dispatch.now() + 45s + 500ms](const QString& id) {
        return id == a ? std::optional(end) : std::nullopt;
    });
    show({permission(a), permission(b)});
    // Over, and the second in which the row shows that is not yet.
    dispatch.advance(45s + 200ms);
    EXPECT_TRUE(control(a, allow)->isEnabled());
    click(a, allow);
    click(a, deny);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(1s);
    EXPECT_EQ(text(a), QStringLiteral("→ terminal"));
    EXPECT_FALSE(control(a, allow)->isEnabled());
    EXPECT_FALSE(control(a, deny)->isEnabled());
    click(a, allow);
    EXPECT_TRUE(reports.empty());
    // The terminal is still to be reached, and so is a request whose end is not known.
    click(a, jump);
    click(b, allow);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::open()}, {b, AskAction::allow()}}));
}

TEST_F(PanelCountdownTest, IsNotThereForANotice) {
    store.upsert(noticeAsk(a, dispatch.now()));
    settle();
    EXPECT_FALSE(label(a)->isVisible());
}

TEST_F(PanelCountdownTest, StaysCorrectForARowThatArrivesBetweenTwoSeconds) {
    store.upsert(permission(a));
    settle();
    dispatch.advance(500ms);
    store.upsert(permission(b));
    settle();
    EXPECT_EQ(text(b), QStringLiteral("45s left"));
    dispatch.advance(2500ms);
    EXPECT_EQ(text(a), QStringLiteral("42s left"));
    EXPECT_EQ(text(b), QStringLiteral("43s left"));
}

} // namespace
} // namespace pelorin
