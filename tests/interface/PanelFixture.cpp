#include "tests/interface/PanelFixture.h"

#include <QTest>

#include <algorithm>

namespace pelorin {

PanelFixture::PanelFixture() {
    auto ownScreens = std::make_unique<FakeScreens>();
    auto ownPlatform = std::make_unique<FakePlatform>();
    screens = ownScreens.get();
    platform = ownPlatform.get();
    controller = std::make_unique<NotchPanelController>(
        store, settings, dispatch, reporter(),
        PanelDependencies{std::move(ownScreens), std::move(ownPlatform), engine()});
}

PanelFixture::~PanelFixture() = default;

bool PanelFixture::isStill() {
    if (panel().phase() == NotchPanel::Phase::hidden)
        return true;
    if (panel().phase() == NotchPanel::Phase::leaving)
        return false;
    QQuickItem& content = controller->hosting();
    if (content.opacity() < 1 || content.y() != 0 || panel().geometry() != panel().frame() ||
        content.size() != QSizeF(panel().frame().size()))
        return false;
    return isLaidOut(&content) && std::ranges::all_of(itemsOfType(&content, "PanelRow"), [](QQuickItem* row) {
               return row->property("slide").toReal() == 0;
           });
}

void PanelFixture::settle() {
    dispatch.runDue();
    ASSERT_TRUE(eventually([this] {
        dispatch.runDue();
        return isStill();
    }));
}

void PanelFixture::settleAndArm() {
    settle();
    dispatch.advance(NotchPanelController::settleTime);
}

void PanelFixture::show(const QList<AskEvent>& asks) {
    for (const AskEvent& ask : asks)
        store.upsert(ask);
    settleAndArm();
}

QQuickItem* PanelFixture::row(const QString& askId) {
    for (QQuickItem* item : itemsOfType(&controller->hosting(), "PanelRow")) {
        if (item->property("askId") == askId)
            return item;
    }
    return nullptr;
}

QQuickItem* PanelFixture::control(const QString& askId, const QString& name) {
    QQuickItem* const askRow = row(askId);
    if (!askRow)
        return nullptr;
    QList<QQuickItem*> controls = itemsOfType(askRow, "Pressable");
    controls.append(itemsOfType(askRow, "QQuickTextInput"));
    for (QQuickItem* item : controls) {
        const QVariant own = item->property("name");
        const QString itemName = own.isValid() ? own.toString() : QStringLiteral("Reply");
        if (item->isVisible() && itemName == name)
            return item;
    }
    return nullptr;
}

QPoint PanelFixture::middle(const QString& askId, const QString& name) {
    QQuickItem* const item = control(askId, name);
    EXPECT_NE(item, nullptr) << "There is no " << name.toStdString() << " on " << askId.toStdString();
    return item ? middleOf(item) : QPoint(-1, -1);
}

void PanelFixture::press(QPoint place) {
    QTest::mouseMove(&panel(), place);
    QTest::mousePress(&panel(), Qt::LeftButton, {}, place);
}

void PanelFixture::release(QPoint place) {
    QTest::mouseRelease(&panel(), Qt::LeftButton, {}, place);
}

void PanelFixture::click(QPoint place) {
    press(place);
    release(place);
}

void PanelFixture::click(const QString& askId, const QString& name) {
    click(middle(askId, name));
}

} // namespace pelorin
