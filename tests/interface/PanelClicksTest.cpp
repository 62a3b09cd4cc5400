#include "tests/interface/PanelFixture.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QTest>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

using PanelClicksTest = PanelFixture;

TEST_F(PanelClicksTest, TakesNoClickBeforeItHasStoodForAWhile) {
    EXPECT_EQ(NotchPanelController::settleTime, 400ms);
    store.upsert(permission(a));
    settle();
    EXPECT_FALSE(control(a, allow)->property("armed").toBool());
    click(a, allow);
    dispatch.advance(399ms);
    click(a, allow);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(1ms);
    EXPECT_TRUE(control(a, allow)->property("armed").toBool());
    click(a, allow);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(PanelClicksTest, ShowsThatItTakesNoClicksYet) {
    store.upsert(permission(a));
    settle();
    QQuickItem* const symbol = itemsOfType(control(a, allow), "pelorin::SymbolItem").first();
    EXPECT_LT(symbol->opacity(), 0.5);
    dispatch.advance(400ms);
    EXPECT_TRUE(eventually([&] { return symbol->opacity() == 1; }));
}

TEST_F(PanelClicksTest, ARowThatMovesUnderThePointerTakesNoClick) {
    show({permission(a), permission(b)});
    const QPoint place = middle(a, allow);
    store.remove(a);
    dispatch.runDue();
    click(place);
    settle();
    ASSERT_EQ(middle(b, allow), place);
    click(place);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(400ms);
    click(place);
    EXPECT_EQ(reports, std::vector<Report>({{b, AskAction::allow()}}));
}

TEST_F(PanelClicksTest, ARowAtTheBottomArrivesUnarmedAndLeavesTheOthersAlone) {
    show({permission(a)});
    store.upsert(permission(b));
    settle();
    click(b, allow);
    EXPECT_TRUE(reports.empty());
    click(a, deny);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::deny()}}));
}

TEST_F(PanelClicksTest, ARowPushedDownByAnUnfoldedOneTakesNoClickAtFirst) {
    show({noticeAsk(a), permission(b)});
    click(a, showDetails);
    store.upsert(withAnswers(noticeAsk(a), {QStringLiteral("Yes")}));
    settle();
    reports.clear();
    click(b, allow);
    // The option came up where the other row was.
    click(a, QStringLiteral("Yes"));
    EXPECT_TRUE(reports.empty());
    dispatch.advance(400ms);
    click(b, allow);
    click(a, QStringLiteral("Yes"));
    EXPECT_EQ(reports, std::vector<Report>({{b, AskAction::allow()}, {a, AskAction::option(0)}}));
}

TEST_F(PanelClicksTest, APressAndAReleaseOnDifferentRowsAreNoClick) {
    show({permission(a), permission(b)});
    const QPoint place = middle(a, allow);
    press(place);
    store.remove(a);
    settleAndArm();
    ASSERT_EQ(middle(b, allow), place);
    release(place);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, APressOnARowThatMovesOnBeforeTheReleaseIsNoClick) {
    show({permission(a), permission(b)});
    const QPoint place = middle(b, allow);
    press(place);
    store.remove(a);
    settleAndArm();
    release(middle(b, allow));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, APressBeforeAndAReleaseAfterTheRowHasSettledAreNoClick) {
    store.upsert(permission(a));
    settle();
    const QPoint place = middle(a, allow);
    press(place);
    dispatch.advance(400ms);
    release(place);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, APressAndAReleaseOnDifferentButtonsAreNoClick) {
    show({permission(a)});
    press(middle(a, allow));
    release(middle(a, deny));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, AControlThatTakesNoClickTakesNoKeyAndNoPressEither) {
    store.upsert(permission(a));
    settle();
    const auto pressEveryWay = [&] {
        QQuickItem* const button = control(a, allow);
        button->forceActiveFocus(Qt::TabFocusReason);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
            QTest::keyClick(&panel(), key);
        QAccessible::queryAccessibleInterface(button)->actionInterface()->doAction(
            QAccessibleActionInterface::pressAction());
    };
    pressEveryWay();
    EXPECT_TRUE(reports.empty());
    dispatch.advance(400ms);
    pressEveryWay();
    EXPECT_EQ(reports.size(), 4U);
}

TEST_F(PanelClicksTest, AKeyThatIsHeldDownIsOnePress) {
    show({permission(a)});
    control(a, allow)->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyPress(&panel(), Qt::Key_Return);
    for (int i = 0; i < 3; ++i) {
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, {}, {}, true);
        QCoreApplication::sendEvent(&panel(), &repeated);
    }
    QTest::keyRelease(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(PanelClicksTest, OtherMouseButtonsDoNothing) {
    show({permission(a)});
    QTest::mouseClick(&panel(), Qt::RightButton, {}, middle(a, allow));
    QTest::mouseClick(&panel(), Qt::MiddleButton, {}, middle(a, allow));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, AnAskThatWasAnsweredOnThisTurnIsNotReportedAgain) {
    show({permission(a), permission(b)});
    store.remove(a);
    click(a, allow);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, AnOptionOfAnotherPromptIsNotPicked) {
    show({withAnswers(noticeAsk(a), {QStringLiteral("Yes"), QStringLiteral("No")})});
    store.upsert(withAnswers(noticeAsk(a), {QStringLiteral("Delete all"), QStringLiteral("Keep")}));
    click(a, QStringLiteral("Yes"));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelClicksTest, ReportsTheAskAsTheStoreHoldsIt) {
    show({noticeAsk(a)});
    AskEvent newer = noticeAsk(a);
    newer.tmuxPane = QStringLiteral("%7");
    store.upsert(newer);
    click(a, jump);
    ASSERT_EQ(reportedAsks.size(), 1);
    EXPECT_EQ(reportedAsks.first(), newer);
}

} // namespace
} // namespace pelorin
