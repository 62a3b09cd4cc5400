#include "tests/interface/PanelFixture.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <random>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

using PanelComingAndGoingTest = PanelFixture;

TEST_F(PanelComingAndGoingTest, StaysAwayWhileNothingIsWaiting) {
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(PanelComingAndGoingTest, ShowsWhatIsInTheStoreAlready) {
    store.upsert(permission(a));
    const NotchPanelController second(store, settings, dispatch, [](const AskEvent&, const AskAction&) {});
    EXPECT_FALSE(isShown());
    dispatch.runDue();
    EXPECT_TRUE(isShown());
}

TEST_F(PanelComingAndGoingTest, SaysAboveTheRowsThatEverythingIsAllowed) {
    const QString line = QStringLiteral("Auto-allow is on: every permission request is approved without asking.");
    const auto saysSo = [&] {
        return std::ranges::any_of(itemsOfType(&controller->hosting(), "QQuickText"), [&](QQuickItem* text) {
            return text->isVisible() && text->property("text") == line;
        });
    };
    show({noticeAsk(a)});
    EXPECT_FALSE(saysSo());
    const int without = panel().frame().height();
    const qreal place = row(a)->mapToScene({}).y();
    settings.setDefaultPolicy(AutoDecision::allow);
    settle();
    EXPECT_TRUE(saysSo());
    EXPECT_GT(panel().frame().height(), without);
    EXPECT_GT(row(a)->mapToScene({}).y(), place);
    // The row has moved.
    click(a, dismiss);
    EXPECT_TRUE(reports.empty());
    settings.setDefaultPolicy(AutoDecision::wait);
    settle();
    EXPECT_FALSE(saysSo());
    EXPECT_EQ(panel().frame().height(), without);
}

TEST_F(PanelComingAndGoingTest, SaysALineForSomeSeconds) {
    const auto words = [&] {
        QStringList texts;
        for (QQuickItem* text : itemsOfType(&controller->hosting(), "QQuickText")) {
            if (text->isVisible())
                texts.append(text->property("text").toString());
        }
        return texts;
    };
    // There is no row to say it above.
    controller->announce(QStringLiteral("one"));
    settle();
    EXPECT_TRUE(isShown());
    EXPECT_TRUE(words().contains(QStringLiteral("one")));
    dispatch.advance(4s);
    controller->announce(QStringLiteral("two"));
    show({permission(a)});
    dispatch.advance(NotchPanelController::announcementTime - 1s);
    EXPECT_TRUE(words().contains(QStringLiteral("two")));
    EXPECT_FALSE(words().contains(QStringLiteral("one")));
    dispatch.advance(1s);
    settle();
    EXPECT_FALSE(words().contains(QStringLiteral("two")));
    EXPECT_TRUE(isShown());
    store.remove(a);
    settle();
    EXPECT_FALSE(isShown());
    controller->announce(QStringLiteral("three"));
    settle();
    dispatch.advance(NotchPanelController::announcementTime);
    settle();
    EXPECT_FALSE(panel().isVisible());
    controller->setSilenced(true);
    controller->announce(QStringLiteral("four"));
    settle();
    EXPECT_FALSE(isShown());
    controller->setSilenced(false);
    EXPECT_FALSE(isShown());
}

TEST_F(PanelComingAndGoingTest, SlidesDownAndFadesIn) {
    animate();
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

TEST_F(PanelComingAndGoingTest, FadesOutAndLeavesWhenTheLastAskGoes) {
    animate();
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

TEST_F(PanelComingAndGoingTest, ComesBackWhileItIsStillFading) {
    animate();
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

TEST_F(PanelComingAndGoingTest, IsTheSameWindowAgain) {
    show({permission(a)});
    const WId window = panel().winId();
    store.remove(a);
    settle();
    show({permission(b)});
    EXPECT_EQ(panel().winId(), window);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(platform->prepared, 2);
}

TEST_F(PanelComingAndGoingTest, FollowsManyChangesAtOnceWithOneLook) {
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

TEST_F(PanelComingAndGoingTest, GrowsAndShrinksWithItsRows) {
    animate();
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

TEST_F(PanelComingAndGoingTest, EndsUpAsTheStoreWhateverHappensMeanwhile) {
    animate();
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

} // namespace
} // namespace pelorin
