#include "tests/interface/ManagerFixture.h"

#include <QTest>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const QString a = QStringLiteral("a");
const QString b = QStringLiteral("b");

class ManagerPendingTest : public ManagerFixture {
protected:
    void put(const QList<AskEvent>& asks) {
        for (const AskEvent& ask : asks)
            store.upsert(ask);
        show(pendingTab);
    }

    void expectReport(const QString& id, const AskAction& action) {
        EXPECT_EQ(reports, (std::vector<Report>{{id, action}}));
        reports.clear();
    }
};

TEST_F(ManagerPendingTest, SaysThatNothingIsWaiting) {
    show(pendingTab);
    EXPECT_TRUE(says(QStringLiteral("Nothing is waiting for you.")));
    EXPECT_TRUE(symbols().contains(QStringLiteral("checkmark.circle")));
    store.upsert(noticeAsk(a));
    settle();
    EXPECT_FALSE(says(QStringLiteral("Nothing is waiting for you.")));
    store.remove(a);
    settle();
    EXPECT_TRUE(says(QStringLiteral("Nothing is waiting for you.")));
}

TEST_F(ManagerPendingTest, ShowsOneRowAnAskInTheStoresOrder) {
    AskEvent second = permissionAsk(b, dispatch.now());
    second.source = QStringLiteral("codex");
    put({noticeAsk(a), second});
    const QList<QQuickItem*> rows = visible("PendingRow");
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0]->property("askId"), a);
    EXPECT_EQ(rows[1]->property("askId"), b);
    for (const char* text : {"Claude", "soundings", "Claude is waiting for your input", "Codex", "lighthouse",
                             "Do you want to proceed?", "45s left"})
        EXPECT_TRUE(says(QString::fromUtf8(text))) << text;
    EXPECT_EQ(texts().count(QStringLiteral("Do you want to proceed?")), 1);
    EXPECT_EQ(facade().pendingCount(), 2);
    EXPECT_TRUE(says(QStringLiteral("2")));
}

TEST_F(ManagerPendingTest, AsksTheTerminalsOwnQuestionOnceItIsKnown) {
    AskEvent ask = permissionAsk(a);
    ask.detail = QStringLiteral("Do you want to make this edit to main.cpp?\n1. Yes\n2. No");
    put({ask});
    EXPECT_TRUE(says(QStringLiteral("Do you want to make this edit to main.cpp?")));
    EXPECT_FALSE(says(QStringLiteral("Do you want to proceed?")));
}

TEST_F(ManagerPendingTest, OffersWhatApplies) {
    put({noticeAsk(a)});
    const QStringList always{QStringLiteral("Open"), QStringLiteral("Dismiss"), QStringLiteral("Details")};
    for (const QString& name : always)
        EXPECT_TRUE(hasControl(name)) << name.toStdString();
    for (const char* name : {"Allow", "Deny", "Send", "Reply"})
        EXPECT_FALSE(hasControl(QString::fromLatin1(name))) << name;
    store.remove(a);
    store.upsert(permissionAsk(b));
    settle();
    EXPECT_TRUE(hasControl(QStringLiteral("Allow")));
    EXPECT_TRUE(hasControl(QStringLiteral("Deny")));
    store.upsert(withAnswers(permissionAsk(b), {QStringLiteral("Yes"), QStringLiteral("Never")}));
    settle();
    for (const char* name : {"Yes", "Never", "Send", "Reply"})
        EXPECT_TRUE(hasControl(QString::fromLatin1(name))) << name;
}

TEST_F(ManagerPendingTest, ReportsWhatIsClicked) {
    put({withAnswers(permissionAsk(a), {QStringLiteral("Yes"), QStringLiteral("Never")})});
    click(QStringLiteral("Allow"));
    expectReport(a, AskAction::allow());
    click(QStringLiteral("Deny"));
    expectReport(a, AskAction::deny());
    click(QStringLiteral("Never"));
    expectReport(a, AskAction::option(1));
    click(QStringLiteral("Open"));
    expectReport(a, AskAction::open());
    click(QStringLiteral("Dismiss"));
    expectReport(a, AskAction::dismiss());
}

TEST_F(ManagerPendingTest, ReportsWhatIsPressedByKey) {
    put({permissionAsk(a)});
    control(QStringLiteral("Allow"))->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    expectReport(a, AskAction::allow());
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    expectReport(a, AskAction::deny());
}

TEST_F(ManagerPendingTest, TheKeyboardGoesToTheNextRowAfterAnAnswer) {
    put({permissionAsk(a), permissionAsk(b), noticeAsk(QStringLiteral("c"))});
    const auto hasKeyboard = [&](const QString& name, int nth = 0) {
        return eventually([&] { return control(name, nth)->hasActiveFocus(); });
    };
    control(QStringLiteral("Deny"))->forceActiveFocus(Qt::TabFocusReason);
    store.remove(a);
    settle();
    EXPECT_TRUE(hasKeyboard(QStringLiteral("Deny")));
    // The row has only just come there.
    key(Qt::Key_Return);
    EXPECT_TRUE(reports.empty());
    store.remove(b);
    settle();
    // A notice can't be denied: its first control has the keyboard.
    EXPECT_TRUE(hasKeyboard(QStringLiteral("Open")));
    store.upsert(permissionAsk(a));
    settle();
    EXPECT_TRUE(hasKeyboard(QStringLiteral("Open")));
    // From the last row to the one before.
    control(QStringLiteral("Dismiss"), 1)->forceActiveFocus(Qt::TabFocusReason);
    store.remove(visible("PendingRow").last()->property("askId").toString());
    settle();
    EXPECT_TRUE(hasKeyboard(QStringLiteral("Dismiss")));
}

TEST_F(ManagerPendingTest, ARowThatGoesElsewhereLeavesTheKeyboardAlone) {
    put({permissionAsk(a), permissionAsk(b)});
    QQuickItem* const button = control(QStringLiteral("Allow"), 1);
    button->forceActiveFocus(Qt::TabFocusReason);
    store.remove(a);
    settle();
    EXPECT_TRUE(button->hasActiveFocus());
}

TEST_F(ManagerPendingTest, ARowThatHasJustComeTakesNoKey) {
    put({permissionAsk(a)});
    control(QStringLiteral("Allow"))->forceActiveFocus(Qt::TabFocusReason);
    AskEvent other = permissionAsk(a);
    other.actionSummary = QStringLiteral("rm -rf build");
    store.upsert(other);
    settle();
    key(Qt::Key_Space);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(AskListController::settleTime);
    key(Qt::Key_Space);
    expectReport(a, AskAction::allow());
}

TEST_F(ManagerPendingTest, FoldsTheTerminalsLinesInAndOut) {
    AskEvent ask = noticeAsk(a);
    put({ask});
    EXPECT_FALSE(hasControl(QStringLiteral("Less")));
    click(QStringLiteral("Details"));
    expectReport(a, AskAction::expand());
    ask.detail = QStringLiteral("the last lines");
    store.upsert(ask);
    settleAndArm();
    EXPECT_TRUE(says(QStringLiteral("the last lines")));
    click(QStringLiteral("Less"));
    EXPECT_TRUE(reports.empty());
    EXPECT_FALSE(says(QStringLiteral("the last lines")));
    EXPECT_TRUE(hasControl(QStringLiteral("Details")));
}

TEST_F(ManagerPendingTest, SendsAReply) {
    AskEvent ask = noticeAsk(a);
    ask.acceptsText = true;
    put({ask});
    EXPECT_TRUE(says(QStringLiteral("Type a reply to the session…")));
    EXPECT_FALSE(control(QStringLiteral("Send"))->isEnabled());
    click(QStringLiteral("Reply"));
    type(QStringLiteral("go on"));
    EXPECT_FALSE(says(QStringLiteral("Type a reply to the session…")));
    EXPECT_TRUE(control(QStringLiteral("Send"))->isEnabled());
    click(QStringLiteral("Send"));
    expectReport(a, AskAction::text(QStringLiteral("go on")));
    click(QStringLiteral("Reply"));
    key(Qt::Key_Return);
    expectReport(a, AskAction::text(QStringLiteral("go on")));
}

TEST_F(ManagerPendingTest, KeepsHalfAReplyWhileTheWindowIsHidden) {
    AskEvent ask = noticeAsk(a);
    ask.acceptsText = true;
    put({ask});
    click(QStringLiteral("Reply"));
    type(QStringLiteral("half"));
    window().close();
    show(pendingTab);
    EXPECT_EQ(control(QStringLiteral("Reply"))->property("text"), QStringLiteral("half"));
}

TEST_F(ManagerPendingTest, ARowThatHasJustMovedTakesNoClick) {
    put({permissionAsk(a), permissionAsk(b)});
    const QPoint place = control(QStringLiteral("Allow"))->mapToScene({10, 10}).toPoint();
    store.remove(a);
    settle();
    QTest::mouseClick(&window(), Qt::LeftButton, {}, place);
    EXPECT_TRUE(reports.empty());
    dispatch.advance(AskListController::settleTime);
    QTest::mouseClick(&window(), Qt::LeftButton, {}, place);
    expectReport(b, AskAction::allow());
}

TEST_F(ManagerPendingTest, AnAnswerThatComesTooLateIsNone) {
    put({permissionAsk(a)});
    store.remove(a);
    // The window does not know yet.
    facade().pending()->allow(a);
    EXPECT_TRUE(reports.empty());
}

TEST_F(ManagerPendingTest, CountsDownBySecondsAndThenRests) {
    put({permissionAsk(a, dispatch.now())});
    dispatch.advance(35s);
    settle();
    EXPECT_TRUE(says(QStringLiteral("10s left")));
    dispatch.advance(10s);
    settle();
    EXPECT_TRUE(says(QStringLiteral("→ terminal")));
    EXPECT_EQ(dispatch.waitingTasks(), 0);
}

TEST_F(ManagerPendingTest, ShowsAThousandRowsWithAFewItems) {
    for (int i = 0; i < 1'000; ++i)
        store.upsert(permissionAsk(QString::number(i)));
    show(pendingTab);
    EXPECT_EQ(facade().pendingCount(), 1'000);
    EXPECT_LT(itemsOfType(window().contentItem(), "PendingRow").size(), 30);
    for (int i = 0; i < 10; ++i)
        key(Qt::Key_PageDown);
    EXPECT_LT(itemsOfType(window().contentItem(), "PendingRow").size(), 30);
    EXPECT_GT(visible("PendingRow").last()->property("index").toInt(), 30);
}

TEST_F(ManagerPendingTest, ShowsNoTextAsAnythingElse) {
    AskEvent ask = permissionAsk(a);
    ask.actionSummary = QStringLiteral("<b>rm</b> \u202Ecod.exe\u0007");
    ask.cwd = QStringLiteral("/home/ada/<img src=x>\n\u202Eevil");
    put({ask});
    EXPECT_TRUE(says(QStringLiteral("Bash: <b>rm</b> [U+202E]cod.exe␇")));
    EXPECT_TRUE(says(QStringLiteral("<img src=x> [U+202E]evil")));
    for (QQuickItem* text : visible("QQuickText"))
        EXPECT_EQ(text->property("textFormat").toInt(), Qt::PlainText)
            << text->property("text").toString().toStdString();
}

} // namespace
} // namespace pelorin
