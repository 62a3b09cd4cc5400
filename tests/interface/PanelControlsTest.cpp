#include "tests/interface/PanelFixture.h"

#include <QTest>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

using PanelControlsTest = PanelFixture;

TEST_F(PanelControlsTest, ReportsEveryButtonOfAPermissionRequest) {
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

TEST_F(PanelControlsTest, OffersNoDecisionOnANotice) {
    show({noticeAsk(a)});
    EXPECT_EQ(control(a, allow), nullptr);
    EXPECT_EQ(control(a, deny), nullptr);
    click(a, jump);
    click(a, dismiss);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::open()}, {a, AskAction::dismiss()}}));
}

TEST_F(PanelControlsTest, ActsOnTheFirstClickWithoutTakingTheFocus) {
    show({permission(a)});
    click(a, allow);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::allow()}}));
    EXPECT_EQ(platform->taken, 0);
    EXPECT_TRUE(panel().flags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(PanelControlsTest, ShowsTheSymbolsAndHelpTexts) {
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

TEST_F(PanelControlsTest, ShowsTheHelpTextUnderAPointerThatRests) {
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

TEST_F(PanelControlsTest, KeepsAllowAndDenyApart) {
    show({permission(a)});
    QQuickItem* const askRow = row(a);
    const QRectF allowed = rectangleIn(control(a, allow), askRow);
    const QRectF denied = rectangleIn(control(a, deny), askRow);
    EXPECT_GE(allowed.left() - denied.right(), 10);
}

TEST_F(PanelControlsTest, KeepsTheControlsInPlaceWhateverElseTheRowShows) {
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

} // namespace
} // namespace pelorin
