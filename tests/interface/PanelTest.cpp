#include "tests/interface/PanelFixture.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const QString a = QStringLiteral("a");
const QString b = QStringLiteral("b");
const QString c = QStringLiteral("c");
const QString allow = QStringLiteral("Allow");
const QString deny = QStringLiteral("Deny");
const QString jump = QStringLiteral("Jump");
const QString dismiss = QStringLiteral("Dismiss");
const QString showDetails = QStringLiteral("Show details");
const QString hideDetails = QStringLiteral("Hide details");
const QString reply = QStringLiteral("Reply");
const QString sendReply = QStringLiteral("Send");

class PanelTest : public PanelFixture {
protected:
    AskEvent permission(const QString& id) const { return permissionAsk(id, dispatch.now()); }
};

// Coming and going.

TEST_F(PanelTest, StaysAwayWhileNothingIsWaiting) {
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(PanelTest, ShowsWhatIsInTheStoreAlready) {
    store.upsert(permission(a));
    const NotchPanelController second(store, settings, dispatch, [](const AskEvent&, const AskAction&) {});
    EXPECT_FALSE(isShown());
    dispatch.runDue();
    EXPECT_TRUE(isShown());
}

TEST_F(PanelTest, SlidesDownAndFadesIn) {
    EXPECT_EQ(NotchPanel::appearDuration, 350ms);
    EXPECT_EQ(NotchPanel::moveDuration, 250ms);
    EXPECT_EQ(NotchPanel::fadeDuration, 250ms);
    EXPECT_EQ(NotchPanel::slideDistance, 12);
    store.upsert(permission(a));
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
    dispatch.runDue();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::shown);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(controller->hosting().opacity(), 0);
    EXPECT_EQ(controller->hosting().y(), -12);
    // The window stands where it will stay.
    EXPECT_EQ(panel().geometry(), panel().frame());
    qreal opacityBefore = 0;
    qreal placeBefore = -12;
    EXPECT_TRUE(eventually([&] {
        EXPECT_GE(controller->hosting().opacity(), opacityBefore);
        EXPECT_GE(controller->hosting().y(), placeBefore);
        opacityBefore = controller->hosting().opacity();
        placeBefore = controller->hosting().y();
        return opacityBefore == 1 && placeBefore == 0;
    }));
}

TEST_F(PanelTest, FadesOutAndLeavesWhenTheLastAskGoes) {
    show({permission(a)});
    QSignalSpy withdrawn(&panel(), &NotchPanel::withdrawn);
    store.remove(a);
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::shown);
    dispatch.runDue();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::leaving);
    // What fades is still what was there.
    EXPECT_NE(row(a), nullptr);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_TRUE(eventually([&] { return panel().phase() == NotchPanel::Phase::hidden; }));
    EXPECT_FALSE(panel().isVisible());
    EXPECT_EQ(withdrawn.size(), 1);
    EXPECT_EQ(controller->hosting().opacity(), 0);
    EXPECT_EQ(controller->asks().rowCount(), 0);
}

TEST_F(PanelTest, ComesBackWhileItIsStillFading) {
    show({permission(a)});
    QSignalSpy withdrawn(&panel(), &NotchPanel::withdrawn);
    store.remove(a);
    dispatch.runDue();
    ASSERT_TRUE(eventually([&] { return controller->hosting().opacity() < 1; }));
    store.upsert(permission(b));
    dispatch.runDue();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::shown);
    EXPECT_LT(controller->hosting().opacity(), 1);
    settle();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(withdrawn.size(), 0);
    EXPECT_EQ(row(a), nullptr);
    EXPECT_NE(row(b), nullptr);
}

TEST_F(PanelTest, IsTheSameWindowAgain) {
    show({permission(a)});
    const WId window = panel().winId();
    store.remove(a);
    settle();
    show({permission(b)});
    EXPECT_EQ(panel().winId(), window);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(platform->prepared, 2);
}

TEST_F(PanelTest, FollowsManyChangesAtOnceWithOneLook) {
    dispatch.runDue();
    const std::size_t waiting = dispatch.waitingTasks();
    QSignalSpy inserted(&controller->asks(), &QAbstractItemModel::rowsInserted);
    for (int i = 0; i < 10'000; ++i)
        store.upsert(permissionAsk(QString::number(i % 50), dispatch.now()));
    EXPECT_EQ(dispatch.waitingTasks(), waiting + 1);
    EXPECT_EQ(inserted.size(), 0);
    dispatch.runDue();
    EXPECT_EQ(inserted.size(), 1);
    EXPECT_EQ(controller->asks().rowCount(), 50);
}

TEST_F(PanelTest, GrowsAndShrinksWithItsRows) {
    show({permission(a)});
    const QRect one = panel().frame();
    store.upsert(permission(b));
    dispatch.runDue();
    const QRect two = panel().frame();
    EXPECT_GT(two.height(), one.height());
    EXPECT_EQ(two.topLeft(), one.topLeft());
    // The window is as large as it will be; the content is on its way.
    EXPECT_EQ(panel().geometry(), two);
    EXPECT_LT(controller->hosting().height(), two.height());
    EXPECT_TRUE(eventually([&] { return controller->hosting().height() == two.height(); }));
    store.remove(b);
    dispatch.runDue();
    EXPECT_EQ(panel().frame(), one);
    // The window is as large as it was until the content has shrunk.
    EXPECT_EQ(panel().geometry(), two);
    EXPECT_TRUE(eventually([&] { return panel().geometry() == one; }));
    EXPECT_EQ(controller->hosting().height(), one.height());
    EXPECT_EQ(controller->hosting().opacity(), 1);
}

TEST_F(PanelTest, EndsUpAsTheStoreWhateverHappensMeanwhile) {
    screens->list = {{QRect(0, 0, 1280, 3000), 0, true, nullptr}};
    std::mt19937 random(7);
    const auto upTo = [&](int last) {
        return std::uniform_int_distribution<int>(0, last)(random);
    };
    const auto showsTheStore = [&] {
        dispatch.runDue();
        if (store.asks().isEmpty())
            return panel().phase() == NotchPanel::Phase::hidden;
        if (!isShown() || !isStill())
            return false;
        QList<QQuickItem*> rows = itemsOfType(&controller->hosting(), "PanelRow");
        std::ranges::sort(rows, {}, &QQuickItem::y);
        qreal height = 4;
        QStringList ids;
        for (QQuickItem* item : rows) {
            // One right under the other.
            if (item->y() != height - 4)
                return false;
            ids.append(item->property("askId").toString());
            height += item->height();
        }
        QStringList expected;
        for (const SharedAsk& ask : store.asks())
            expected.append(ask->id());
        return ids == expected && panel().frame().height() == qCeil(height);
    };
    const auto describe = [&] {
        QString text = QStringLiteral("phase %1, frame %2, content %3 of %4;")
                           .arg(static_cast<int>(panel().phase()))
                           .arg(panel().frame().height())
                           .arg(controller->hosting().height())
                           .arg(controller->hosting().implicitHeight());
        for (const SharedAsk& ask : store.asks())
            text += u' ' + ask->id();
        for (QQuickItem* item : itemsOfType(&controller->hosting(), "PanelRow"))
            text += QStringLiteral("; %1 at %2, %3 high")
                        .arg(item->property("askId").toString())
                        .arg(item->y())
                        .arg(item->height());
        return text.toStdString();
    };
    for (int round = 0; round < 40; ++round) {
        for (int step = upTo(3); step >= 0; --step) {
            const QString id = QString::number(upTo(9));
            switch (upTo(3)) {
            case 0:
                store.remove(id);
                break;
            case 1:
                store.upsert(noticeAsk(id));
                break;
            case 2:
                store.upsert(withAnswers(permission(id), {QStringLiteral("Yes"), QStringLiteral("No")}));
                break;
            default:
                controller->asks().setFold(id,
                                           upTo(1) == 0 ? AskListModel::Fold::collapsed : AskListModel::Fold::expanded);
            }
            dispatch.runDue();
            QCoreApplication::processEvents();
        }
        // Most of what happens, happens while what was before still moves.
        if (round % 4 == 3) {
            ASSERT_TRUE(eventually(showsTheStore)) << "round " << round << ": " << describe();
        }
    }
}

// Silence.

TEST_F(PanelTest, IsHiddenWhileSilencedAndComesBackAfterwards) {
    show({permission(a)});
    EXPECT_FALSE(controller->silenced());
    controller->setSilenced(true);
    EXPECT_TRUE(controller->silenced());
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::leaving);
    settle();
    EXPECT_FALSE(panel().isVisible());
    store.upsert(permission(b));
    settle();
    EXPECT_FALSE(panel().isVisible());
    controller->setSilenced(false);
    EXPECT_TRUE(isShown());
    settleAndArm();
    EXPECT_NE(row(b), nullptr);
    click(a, allow);
    ASSERT_EQ(reports.size(), 1U);
}

TEST_F(PanelTest, StaysHiddenAfterSilenceWhenNothingIsWaiting) {
    controller->setSilenced(true);
    store.upsert(permission(a));
    dispatch.runDue();
    store.remove(a);
    dispatch.runDue();
    controller->setSilenced(false);
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
}

TEST_F(PanelTest, TakesNoClicksWhileItFades) {
    show({permission(a)});
    const QPoint place = middle(a, allow);
    controller->setSilenced(true);
    click(place);
    EXPECT_TRUE(reports.empty());
}

// Place and size.

TEST_F(PanelTest, HangsFromTheMiddleOfTheTopEdgeOfTheMainScreen) {
    screens->list = {{QRect(0, 0, 1000, 700), 0, false, nullptr}, {QRect(1000, 100, 1600, 900), 0, true, nullptr}};
    show({permission(a)});
    EXPECT_EQ(panel().geometry().y(), 100);
    EXPECT_EQ(panel().geometry().center().x(), 1000 + 799);
    EXPECT_EQ(panel().geometry().width(), 460);
}

TEST_F(PanelTest, HangsOverTheNotchAndKeepsItsRowsBelow) {
    show({permission(a)});
    const qreal plainTop = row(a)->mapToScene({0, 0}).y();
    const int plainHeight = panel().frame().height();
    screens->set({{QRect(0, 0, 1280, 800), 0, true, nullptr}, {QRect(1280, 0, 1512, 982), 38, false, nullptr}});
    settle();
    EXPECT_EQ(panel().geometry().topLeft(), QPoint(1280 + (1512 - 460) / 2, 0));
    EXPECT_EQ(row(a)->mapToScene({0, 0}).y(), plainTop + 38);
    EXPECT_EQ(panel().frame().height(), plainHeight + 38);
}

TEST_F(PanelTest, ShowsNothingWithoutAScreen) {
    screens->list.clear();
    store.upsert(permission(a));
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
}

TEST_F(PanelTest, ShowsOnceAScreenIsThere) {
    screens->list.clear();
    store.upsert(permission(a));
    settle();
    screens->set({{QRect(0, 0, 1280, 800), 0, true, nullptr}});
    settle();
    EXPECT_TRUE(panel().isVisible());
    screens->set({});
    settle();
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(PanelTest, IsNeverTallerThanTheScreen) {
    QList<AskEvent> asks;
    for (int i = 0; i < 20; ++i)
        asks.append(permission(QString::number(i)));
    show(asks);
    EXPECT_LE(panel().geometry().height(), 640);
    EXPECT_GT(panel().geometry().height(), 500);
    screens->set({{QRect(0, 0, 1280, 300), 0, true, nullptr}});
    settle();
    EXPECT_LE(panel().geometry().height(), 300);
}

TEST_F(PanelTest, ScrollsToTheLastOfManyRowsAndKeepsTheirClicks) {
    QList<AskEvent> asks;
    for (int i = 0; i < 20; ++i)
        asks.append(permission(QString::number(i)));
    show(asks);
    const QString last = QStringLiteral("19");
    const QPointF pointer(230, 300);
    quint64 timestamp = 1000;
    ASSERT_TRUE(eventually([&] {
        QWheelEvent wheel(pointer, panel().mapToGlobal(pointer), {}, {0, -240}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        // The list tells a wheel's speed by it.
        wheel.setTimestamp(timestamp += 16);
        QCoreApplication::sendEvent(&panel(), &wheel);
        dispatch.runDue();
        QQuickItem* const item = row(last);
        return item && item->mapToScene({0, item->height()}).y() <= panel().height();
    }));
    QQuickItem* const list = itemsOfType(&controller->hosting(), "PanelList").first();
    ASSERT_TRUE(eventually([&] { return !list->property("moving").toBool(); }));
    dispatch.runDue();
    click(last, allow);
    EXPECT_EQ(reports, std::vector<Report>({{last, AskAction::allow()}}));
}

// The controls.

TEST_F(PanelTest, ReportsEveryButtonOfAPermissionRequest) {
    show({permission(a), permission(b), permission(c)});
    click(b, allow);
    click(b, deny);
    click(c, jump);
    click(a, dismiss);
    EXPECT_EQ(
        reports,
        std::vector<Report>(
            {{b, AskAction::allow()}, {b, AskAction::deny()}, {c, AskAction::open()}, {a, AskAction::dismiss()}}));
}

TEST_F(PanelTest, OffersNoDecisionOnANotice) {
    show({noticeAsk(a)});
    EXPECT_EQ(control(a, allow), nullptr);
    EXPECT_EQ(control(a, deny), nullptr);
    click(a, jump);
    click(a, dismiss);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::open()}, {a, AskAction::dismiss()}}));
}

TEST_F(PanelTest, ActsOnTheFirstClickWithoutTakingTheFocus) {
    show({permission(a)});
    click(a, allow);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::allow()}}));
    EXPECT_EQ(platform->taken, 0);
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(PanelTest, ShowsTheSymbolsAndHelpTexts) {
    show({permission(a)});
    const auto check = [&](const QString& name, const char* symbol, const char* help) {
        QQuickItem* const item = control(a, name);
        ASSERT_NE(item, nullptr) << name.toStdString();
        EXPECT_EQ(item->property("symbol"), QString::fromLatin1(symbol));
        EXPECT_EQ(item->property("help"), QString::fromLatin1(help));
    };
    check(allow, "checkmark.circle.fill", "Allow this action");
    check(deny, "xmark.circle.fill", "Deny this action");
    check(jump, "arrow.up.right.square.fill", "Jump to this session");
    check(showDetails, "chevron.down.circle.fill", "");
    click(a, showDetails);
    check(hideDetails, "chevron.up.circle.fill", "");
    store.upsert(withAnswers(permission(a), {}));
    settle();
    check(sendReply, "paperplane.circle.fill", "");
}

TEST_F(PanelTest, ShowsTheHelpTextUnderAPointerThatRests) {
    show({permission(a)});
    QQuickItem* const tip = itemsOfType(&controller->hosting(), "HelpTip").first();
    EXPECT_FALSE(tip->isVisible());
    QTest::mouseMove(&panel(), middle(a, allow));
    ASSERT_TRUE(eventually([&] { return tip->opacity() == 1; }));
    EXPECT_EQ(itemsOfType(tip, "QQuickText").first()->property("text"), QStringLiteral("Allow this action"));
    EXPECT_TRUE(QRectF({0, 0}, controller->hosting().size()).contains(rectangleIn(tip, &controller->hosting())));
    QTest::mouseMove(&panel(), QPoint(5, 5));
    EXPECT_TRUE(eventually([&] { return !tip->isVisible(); }));
}

TEST_F(PanelTest, KeepsAllowAndDenyApart) {
    show({permission(a)});
    QQuickItem* const askRow = row(a);
    const QRectF allowed = rectangleIn(control(a, allow), askRow);
    const QRectF denied = rectangleIn(control(a, deny), askRow);
    EXPECT_GE(allowed.left() - denied.right(), 10);
}

TEST_F(PanelTest, KeepsTheControlsInPlaceWhateverElseTheRowShows) {
    AskEvent shortOne = permission(a);
    shortOne.actionSummary = QStringLiteral("ls");
    AskEvent longOne = permission(b);
    longOne.actionSummary = QStringLiteral("wordy ").repeated(30);
    longOne.agentType = QStringLiteral("general-purpose");
    longOne.receivedAt -= 500s;
    show({shortOne, longOne});
    for (const QString& name : {allow, deny, jump, dismiss, showDetails})
        EXPECT_EQ(rectangleIn(control(a, name), row(a)), rectangleIn(control(b, name), row(b))) << name.toStdString();
}

// Clicks that must not become answers.

TEST_F(PanelTest, TakesNoClickBeforeItHasStoodForAWhile) {
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

TEST_F(PanelTest, ShowsThatItTakesNoClicksYet) {
    store.upsert(permission(a));
    settle();
    QQuickItem* const symbol = itemsOfType(control(a, allow), "pelorin::SymbolItem").first();
    EXPECT_LT(symbol->opacity(), 0.5);
    dispatch.advance(400ms);
    EXPECT_TRUE(eventually([&] { return symbol->opacity() == 1; }));
}

TEST_F(PanelTest, ARowThatMovesUnderThePointerTakesNoClick) {
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

TEST_F(PanelTest, ARowAtTheBottomArrivesUnarmedAndLeavesTheOthersAlone) {
    show({permission(a)});
    store.upsert(permission(b));
    settle();
    click(b, allow);
    EXPECT_TRUE(reports.empty());
    click(a, deny);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::deny()}}));
}

TEST_F(PanelTest, ARowPushedDownByAnUnfoldedOneTakesNoClickAtFirst) {
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

TEST_F(PanelTest, APressAndAReleaseOnDifferentRowsAreNoClick) {
    show({permission(a), permission(b)});
    const QPoint place = middle(a, allow);
    press(place);
    store.remove(a);
    settleAndArm();
    ASSERT_EQ(middle(b, allow), place);
    release(place);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, APressOnARowThatMovesOnBeforeTheReleaseIsNoClick) {
    show({permission(a), permission(b)});
    const QPoint place = middle(b, allow);
    press(place);
    store.remove(a);
    settleAndArm();
    release(middle(b, allow));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, APressBeforeAndAReleaseAfterTheRowHasSettledAreNoClick) {
    store.upsert(permission(a));
    settle();
    const QPoint place = middle(a, allow);
    press(place);
    dispatch.advance(400ms);
    release(place);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, APressAndAReleaseOnDifferentButtonsAreNoClick) {
    show({permission(a)});
    press(middle(a, allow));
    release(middle(a, deny));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, OtherMouseButtonsDoNothing) {
    show({permission(a)});
    QTest::mouseClick(&panel(), Qt::RightButton, {}, middle(a, allow));
    QTest::mouseClick(&panel(), Qt::MiddleButton, {}, middle(a, allow));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, AnAskThatWasAnsweredOnThisTurnIsNotReportedAgain) {
    show({permission(a), permission(b)});
    store.remove(a);
    click(a, allow);
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, AnOptionOfAnotherPromptIsNotPicked) {
    show({withAnswers(noticeAsk(a), {QStringLiteral("Yes"), QStringLiteral("No")})});
    store.upsert(withAnswers(noticeAsk(a), {QStringLiteral("Delete all"), QStringLiteral("Keep")}));
    click(a, QStringLiteral("Yes"));
    EXPECT_TRUE(reports.empty());
}

TEST_F(PanelTest, ReportsTheAskAsTheStoreHoldsIt) {
    show({noticeAsk(a)});
    AskEvent newer = noticeAsk(a);
    newer.tmuxPane = QStringLiteral("%7");
    store.upsert(newer);
    click(a, jump);
    ASSERT_EQ(reportedAsks.size(), 1);
    EXPECT_EQ(reportedAsks.first(), newer);
}

// Details, options and replies.

TEST_F(PanelTest, ReportsUnfoldingButNotFolding) {
    show({permission(a)});
    click(a, showDetails);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::expand()}}));
    click(a, hideDetails);
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_NE(control(a, showDetails), nullptr);
}

TEST_F(PanelTest, ShowsTheTerminalOfAnUnfoldedRow) {
    AskEvent ask = permission(a);
    show({ask});
    const int folded = panel().frame().height();
    QQuickItem* const block = itemsOfType(row(a), "TerminalText").first();
    ask.detail = QStringLiteral("$ make\nDo you want to proceed?");
    click(a, showDetails);
    store.upsert(ask);
    settle();
    EXPECT_TRUE(block->isVisible());
    EXPECT_EQ(itemsOfType(block, "QQuickText").first()->property("text"), ask.detail);
    EXPECT_GT(panel().frame().height(), folded);
    click(a, hideDetails);
    settle();
    EXPECT_FALSE(block->isVisible());
    EXPECT_EQ(panel().frame().height(), folded);
}

TEST_F(PanelTest, ShowsTheEndOfALongTerminal) {
    AskEvent ask = permission(a);
    ask.detail = QStringLiteral("line\n").repeated(60) + QStringLiteral("the end");
    show({ask});
    click(a, showDetails);
    settle();
    QQuickItem* const block = itemsOfType(row(a), "TerminalText").first();
    EXPECT_LT(block->height(), 260);
    QQuickItem* const text = itemsOfType(block, "QQuickText").first();
    EXPECT_NEAR(rectangleIn(text, block).bottom(), block->height() - 8, 1);
}

TEST_F(PanelTest, WrapsTheOptionsAndReportsTheirPosition) {
    const QStringList labels{QStringLiteral("Yes"), QStringLiteral("Yes, and don't ask again for this command"),
                             QStringLiteral("Yes, allow all edits during this session"), QStringLiteral("No"),
                             QStringLiteral("a very long option ").repeated(8)};
    show({withAnswers(noticeAsk(a), labels)});
    QQuickItem* const flow = itemsOfType(row(a), "OptionFlow").first();
    const QList<QQuickItem*> buttons = itemsOfType(flow, "OptionButton");
    ASSERT_EQ(buttons.size(), labels.size());
    QRectF before;
    int lines = 0;
    for (QQuickItem* button : buttons) {
        const QRectF place = rectangleIn(button, flow);
        EXPECT_GE(place.left(), 0);
        EXPECT_LE(place.right(), flow->width());
        EXPECT_FALSE(place.intersects(before));
        // Left to right, then on the next line.
        if (before.isNull() || place.top() >= before.bottom()) {
            ++lines;
            EXPECT_EQ(place.left(), 0);
        } else {
            EXPECT_EQ(place.top(), before.top());
            EXPECT_GT(place.left(), before.right());
        }
        before = place;
    }
    EXPECT_GE(lines, 3);
    EXPECT_LT(lines, 5);
    for (const QString& label : labels)
        click(a, label);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::option(0)},
                                            {a, AskAction::option(1)},
                                            {a, AskAction::option(2)},
                                            {a, AskAction::option(3)},
                                            {a, AskAction::option(4)}}));
}

class ReplyTest : public PanelTest {
protected:
    ReplyTest() {
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

TEST_F(ReplyTest, ShowsWhatToTypeThere) {
    QQuickItem* const field = control(a, reply);
    ASSERT_NE(field, nullptr);
    QQuickItem* const placeholder = itemsOfType(field, "QQuickText").first();
    EXPECT_EQ(placeholder->property("text"), QStringLiteral("Type a reply to the session…"));
    EXPECT_TRUE(placeholder->isVisible());
    EXPECT_EQ(control(b, reply), nullptr);
}

TEST_F(ReplyTest, TakesTheKeyboardOnlyOnceTheFieldIsClicked) {
    EXPECT_EQ(platform->taken, 0);
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
    startTyping();
    EXPECT_EQ(platform->taken, 1);
    EXPECT_TRUE(fieldHasFocus());
    EXPECT_FALSE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(ReplyTest, SendsOnReturnAndGivesTheKeyboardBack) {
    startTyping();
    type(QStringLiteral("use the other chart"));
    EXPECT_EQ(typed(), QStringLiteral("use the other chart"));
    QTest::keyClick(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral("use the other chart"))}}));
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(ReplyTest, SendsWithTheButton) {
    startTyping();
    type(QStringLiteral(" ok "));
    click(a, sendReply);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral(" ok "))}}));
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(ReplyTest, ReachesTheSendButtonWithTab) {
    startTyping();
    type(QStringLiteral("ok"));
    QTest::keyClick(&panel(), Qt::Key_Tab);
    EXPECT_TRUE(control(a, sendReply)->hasActiveFocus());
    QTest::keyClick(&panel(), Qt::Key_Return);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::text(QStringLiteral("ok"))}}));
}

TEST_F(ReplyTest, SendsNoBlanks) {
    startTyping();
    QTest::keyClick(&panel(), Qt::Key_Return);
    type(QStringLiteral("  "));
    QTest::keyClick(&panel(), Qt::Key_Return);
    click(a, sendReply);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(platform->givenBack, 0);
    EXPECT_FALSE(control(a, sendReply)->isEnabled());
}

TEST_F(ReplyTest, EscapeGivesTheKeyboardBackAndKeepsTheText) {
    startTyping();
    type(QStringLiteral("half"));
    QTest::keyClick(&panel(), Qt::Key_Escape);
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_EQ(typed(), QStringLiteral("half"));
    EXPECT_TRUE(reports.empty());
}

TEST_F(ReplyTest, EscapeOnAnyControlGivesTheKeyboardBack) {
    startTyping();
    QTest::keyClick(&panel(), Qt::Key_Tab);
    QTest::keyClick(&panel(), Qt::Key_Escape);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(ReplyTest, GivesTheKeyboardBackWhenTheRowGoes) {
    startTyping();
    store.remove(a);
    dispatch.runDue();
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_TRUE(isShown());
}

TEST_F(ReplyTest, GivesTheKeyboardBackWhenTheRowIsFolded) {
    startTyping();
    click(a, hideDetails);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(ReplyTest, GivesTheKeyboardBackWhenThePanelHides) {
    startTyping();
    controller->setSilenced(true);
    EXPECT_EQ(platform->givenBack, 1);
}

TEST_F(ReplyTest, LetsGoOfTheKeyboardWhenTheUserGoesElsewhere) {
    startTyping();
    QWindow other;
    other.show();
    other.requestActivate();
    ASSERT_TRUE(eventually([&] { return other.isActive(); }));
    EXPECT_EQ(platform->givenBack, 1);
    EXPECT_FALSE(fieldHasFocus());
    EXPECT_TRUE(other.isActive());
}

TEST_F(ReplyTest, KeepsHalfAReplyWhileTheRowIsFoldedOrChanges) {
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

// The countdown.

class CountdownOnPanel : public PanelTest {
protected:
    QQuickItem* label(const QString& askId) { return itemsOfType(row(askId), "CountdownLabel").first(); }
    QString text(const QString& askId) { return label(askId)->property("text").toString(); }
    QQuickItem* words(const QString& askId) { return itemsOfType(label(askId), "QQuickText").first(); }
    QQuickItem* clock(const QString& askId) { return itemsOfType(label(askId), "pelorin::SymbolItem").first(); }
    QColor colour(const QString& askId) { return words(askId)->property("color").value<QColor>(); }
};

TEST_F(CountdownOnPanel, CountsSecondsDown) {
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

TEST_F(CountdownOnPanel, IsYellowAndThenOrange) {
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

TEST_F(CountdownOnPanel, IsSetInNinePointMediumWithFivePointsAround) {
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

TEST_F(CountdownOnPanel, FollowsTheWaitThatIsSet) {
    store.upsert(permission(a));
    settle();
    settings.setDecisionWaitSeconds(120);
    dispatch.runDue();
    EXPECT_EQ(text(a), QStringLiteral("120s left"));
}

TEST_F(CountdownOnPanel, IsNotThereForANotice) {
    store.upsert(noticeAsk(a, dispatch.now()));
    settle();
    EXPECT_FALSE(label(a)->isVisible());
}

TEST_F(CountdownOnPanel, StaysCorrectForARowThatArrivesBetweenTwoSeconds) {
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

// Idle.

TEST_F(PanelTest, HasNoTimerUnlessSomethingCountsDown) {
    show({noticeAsk(a)});
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    store.upsert(permission(b));
    settleAndArm();
    EXPECT_EQ(dispatch.waitingTasks(), 1U);
    dispatch.advance(60s);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    store.remove(b);
    store.upsert(permission(c));
    settleAndArm();
    EXPECT_EQ(dispatch.waitingTasks(), 1U);
    controller->setSilenced(true);
    settle();
    dispatch.advance(1s);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

class PanelPainting : public PanelTest {
protected:
    PanelPainting() {
        QObject::connect(
            &panel(), &QQuickWindow::afterRendering, &panel(), [this] { ++m_frames; }, Qt::DirectConnection);
    }

    /// Whether another frame is painted within a moment that is long for a frame.
    bool paintsAnother() {
        m_frames = 0;
        return QTest::qWaitFor([this] { return m_frames > 0; }, 250);
    }

    /// Waits for the last frame of what has just happened.
    void comeToRest() {
        int frames = 0;
        while (paintsAnother() && frames < 1000)
            ++frames;
        ASSERT_LT(frames, 1000);
    }

private:
    int m_frames = 0;
};

TEST_F(PanelPainting, StopsWhileNothingChanges) {
    show({noticeAsk(a), noticeAsk(b)});
    comeToRest();
    EXPECT_FALSE(paintsAnother());
    store.remove(a);
    store.remove(b);
    settle();
    EXPECT_FALSE(paintsAnother());
}

TEST_F(PanelPainting, PaintsOneFrameForASecondOfCountdown) {
    show({permission(a)});
    comeToRest();
    dispatch.advance(1s);
    EXPECT_TRUE(paintsAnother());
    EXPECT_FALSE(paintsAnother());
}

// Corners.

TEST_F(PanelTest, LeavesTheCornersToTheCompositor) {
    show({permission(a)});
    EXPECT_TRUE(panel().mask().isEmpty());
    EXPECT_EQ(panel().color().alpha(), 0);
}

TEST_F(PanelTest, MasksTheBottomCornersWithoutACompositor) {
    platform->compositing = false;
    show({permission(a)});
    const QRegion mask = panel().mask();
    const QSize size = panel().size();
    EXPECT_TRUE(mask.contains(QPoint(0, 0)));
    EXPECT_TRUE(mask.contains(QPoint(size.width() - 1, 0)));
    EXPECT_TRUE(mask.contains(QPoint(size.width() / 2, size.height() - 1)));
    EXPECT_TRUE(mask.contains(QPoint(0, size.height() - NotchPanel::cornerRadius - 2)));
    EXPECT_FALSE(mask.contains(QPoint(1, size.height() - 2)));
    EXPECT_FALSE(mask.contains(QPoint(size.width() - 2, size.height() - 2)));
    store.upsert(permission(b));
    settle();
    EXPECT_TRUE(panel().mask().contains(QPoint(size.width() / 2, panel().height() - 1)));
}

// The window.

TEST_F(PanelTest, IsAWindowThatKeepsOutOfTheWay) {
    const Qt::WindowFlags flags = panel().flags();
    EXPECT_TRUE(flags.testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(flags.testFlag(Qt::NoDropShadowWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(flags.testFlag(Qt::X11BypassWindowManagerHint));
    EXPECT_EQ(flags & Qt::WindowType_Mask, Qt::Tool);
    show({permission(a)});
    EXPECT_EQ(panel().rendererInterface()->graphicsApi(), QSGRendererInterface::Software);
}

} // namespace
} // namespace pelorin
