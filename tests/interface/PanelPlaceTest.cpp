#include "tests/interface/PanelFixture.h"

namespace pelorin {
namespace {

using PanelPlaceTest = PanelFixture;

TEST_F(PanelPlaceTest, HangsFromTheMiddleOfTheTopEdgeOfTheMainScreen) {
    screens->list = {{QRect(0, 0, 1000, 700), 0, false, nullptr}, {QRect(1000, 100, 1600, 900), 0, true, nullptr}};
    show({permission(a)});
    EXPECT_EQ(panel().geometry().y(), 100);
    EXPECT_EQ(panel().geometry().center().x(), 1000 + 799);
    EXPECT_EQ(panel().geometry().width(), 460);
}

TEST_F(PanelPlaceTest, HangsOverTheNotchAndKeepsItsRowsBelow) {
    show({permission(a)});
    const qreal plainTop = row(a)->mapToScene({0, 0}).y();
    const int plainHeight = panel().frame().height();
    screens->set({{QRect(0, 0, 1280, 800), 0, true, nullptr}, {QRect(1280, 0, 1512, 982), 38, false, nullptr}});
    settle();
    EXPECT_EQ(panel().geometry().topLeft(), QPoint(1280 + (1512 - 460) / 2, 0));
    EXPECT_EQ(row(a)->mapToScene({0, 0}).y(), plainTop + 38);
    EXPECT_EQ(panel().frame().height(), plainHeight + 38);
}

TEST_F(PanelPlaceTest, ShowsNothingWithoutAScreen) {
    screens->list.clear();
    store.upsert(permission(a));
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
}

TEST_F(PanelPlaceTest, ShowsOnceAScreenIsThere) {
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

TEST_F(PanelPlaceTest, IsNeverTallerThanTheScreen) {
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

TEST_F(PanelPlaceTest, ScrollsToTheLastOfManyRowsAndKeepsTheirClicks) {
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

TEST_F(PanelPlaceTest, LeavesTheCornersToTheCompositor) {
    show({permission(a)});
    EXPECT_TRUE(panel().mask().isEmpty());
    EXPECT_EQ(panel().color().alpha(), 0);
}

TEST_F(PanelPlaceTest, MasksTheBottomCornersWithoutACompositor) {
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

TEST_F(PanelPlaceTest, FadesNothingWhereNothingShowsThrough) {
    animate();
    platform->compositing = false;
    store.upsert(permission(a));
    dispatch.runDue();
    // It slides all the same.
    EXPECT_EQ(controller->hosting().y(), -NotchPanel::slideDistance);
    EXPECT_TRUE(eventually([&] {
        EXPECT_EQ(controller->hosting().opacity(), 1);
        return isStill();
    }));
    store.remove(a);
    dispatch.runDue();
    EXPECT_TRUE(eventually([&] {
        EXPECT_EQ(controller->hosting().opacity(), 1);
        return !panel().isVisible();
    }));
}

TEST_F(PanelPlaceTest, IsAWindowThatKeepsOutOfTheWay) {
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
