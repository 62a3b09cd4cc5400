#include "tests/interface/PanelFixture.h"

#include <QTest>

namespace pelorin {
namespace {

class PanelReplyTest : public PanelFixture {
protected:
    PanelReplyTest() {
        show({withAnswers(permission(a), {QStringLiteral("Yes")}), permission(b)});
        click(a, showDetails);
        settleAndArm();
        reports.clear();
    }

    void startTyping() {
        click(a, reply);
        ASSERT_TRUE(eventually([this] { return panel().isActive(); }));
    }
    QString typed() { return control(a, reply)->property("text").toString(); }
    void type(const QString& text) {
        for (const QChar character : text)
            QTest::keyClick(&panel(), character.toLatin1());
    }
    bool fieldHasFocus() { return control(a, reply)->hasActiveFocus(); }
};

TEST_F(PanelReplyTest, ShowsWhatToTypeThere) {
    QQuickItem* const field = control(a, reply);
    ASSERT_NE(field, nullptr);
    QQuickItem* const placeholder = itemsOfType(field, "QQuickText").first();
    EXPECT_EQ(placeholder->property("text"), QStringLiteral("Type a reply to the session…"));
    EXPECT_TRUE(placeholder->isVisible());
    EXPECT_EQ(control(b, reply), nullptr);
}

TEST_F(PanelReplyTest, TakesTheKeyboardOnlyOnceTheFieldIsClicked) {
    EXPECT_EQ(platform->taken, 0);
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
    startTyping();
    EXPECT_EQ(platform->taken, 1);
    EXPECT_TRUE(fieldHasFocus());
    EXPECT_FALSE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(PanelReplyTest, SendsOnReturnAndGivesTheKeyboardBack) {
    startTyping();
    type(QStringLiteral("use the other chart"));
    EXPECT_EQ(typed(), QStringLiteral("use the other chart"));
    QTest::keyClick(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral("use the other chart"))}}));
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(PanelReplyTest, SendsWithTheButton) {
    startTyping();
    type(QStringLiteral(" ok "));
    click(a, sendReply);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral(" ok "))}}));
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(PanelReplyTest, ReachesTheSendButtonWithTab) {
    startTyping();
    type(QStringLiteral("ok"));
    QTest::keyClick(&panel(), Qt::Key_Tab);
    EXPECT_TRUE(control(a, sendReply)->hasActiveFocus());
    QTest::keyClick(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral("ok"))}}));
}

TEST_F(PanelReplyTest, SendsNoBlanks) {
    startTyping();
    QTest::keyClick(&panel(), Qt::Key_Return);
    type(QStringLiteral("  "));
    QTest::keyClick(&panel(), Qt::Key_Return);
    click(a, sendReply);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(platform->givenBack, 0);
    EXPECT_FALSE(control(a, sendReply)->isEnabled());
}

TEST_F(PanelReplyTest, SendsNothingToARowThatHasJustComeToAskSomethingElse) {
    startTyping();
    type(QStringLiteral("yes"));
    AskEvent newer = withAnswers(permission(a), {QStringLiteral("Delete all")});
    newer.actionSummary = QStringLiteral("rm -rf build");
    store.upsert(newer);
    settle();
    QTest::keyClick(&panel(), Qt::Key_Return);
    click(a, sendReply);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(NotchPanelController::settleTime);
    QTest::keyClick(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral("yes"))}}));
}

TEST_F(PanelReplyTest, EscapeGivesTheKeyboardBackAndKeepsTheText) {
    startTyping();
    type(QStringLiteral("half"));
    QTest::keyClick(&panel(), Qt::Key_Escape);
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_EQ(typed(), QStringLiteral("half"));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelReplyTest, EscapeOnAnyControlGivesTheKeyboardBack) {
    startTyping();
    QTest::keyClick(&panel(), Qt::Key_Tab);
    QTest::keyClick(&panel(), Qt::Key_Escape);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(PanelReplyTest, GivesTheKeyboardBackWhenTheRowGoes) {
    startTyping();
    store.remove(a);
    dispatch.runDue();
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_TRUE(isShown());
}

TEST_F(PanelReplyTest, GivesTheKeyboardBackWhenTheRowIsFolded) {
    startTyping();
    click(a, hideDetails);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(PanelReplyTest, GivesTheKeyboardBackWhenThePanelHides) {
    startTyping();
    controller->setSilenced(true);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(PanelReplyTest, LetsGoOfTheKeyboardWhenTheUserGoesElsewhere) {
    startTyping();
    QWindow other;
    other.show();
    other.requestActivate();
    ASSERT_TRUE(eventually([&] { return other.isActive(); }));
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_TRUE(other.isActive());
}

TEST_F(PanelReplyTest, KeepsHalfAReplyWhileTheRowIsFoldedOrChanges) {
    startTyping();
    type(QStringLiteral("half"));
    AskEvent newer = withAnswers(permission(a), {QStringLiteral("Yes"), QStringLiteral("No")});
    store.upsert(newer);
    settleAndArm();
    EXPECT_EQ(typed(), QStringLiteral("half"));
    EXPECT_TRUE(fieldHasFocus());
    click(a, hideDetails);
    settleAndArm();
    click(a, showDetails);
    EXPECT_EQ(typed(), QStringLiteral("half"));
}

} // namespace
} // namespace pelorin
