#include "tests/interface/PanelFixture.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

#include <functional>

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

TEST_F(PanelControlsTest, NoHelpTextCoversAnAnswer) {
    show({permission(a), permission(b), permission(c)});
    QQuickItem* const tip = itemsOfType(&controller->hosting(), "HelpTip").first();
    QQuickItem* const content = &controller->hosting();
    for (const QString& id : {a, b, c}) {
        for (const QString& name : {allow, deny, jump, dismiss}) {
            QMetaObject::invokeMethod(tip, "show", Q_ARG(QQuickItem*, control(id, name)),
                                      Q_ARG(QString, control(id, name)->property("help").toString()));
            const QRectF place = rectangleIn(tip, content);
            EXPECT_TRUE(QRectF({0, 0}, content->size()).contains(place)) << name.toStdString();
            for (const QString& other : {a, b, c}) {
                EXPECT_FALSE(place.intersects(rectangleIn(control(other, allow), content))) << name.toStdString();
                EXPECT_FALSE(place.intersects(rectangleIn(control(other, deny), content))) << name.toStdString();
            }
        }
    }
}

TEST_F(PanelControlsTest, ScreenReadersHearAnAskThatComesAndNothingThatIsNotThere) {
    AskEvent ask = permission(a);
    ask.agentType = QStringLiteral("general-purpose");
    show({ask});
    const QString words =
        QStringLiteral("Claude, lighthouse, sub-agent general-purpose: Bash: cmake --build build --target a");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(row(a))->text(QAccessible::Name), words);
    auto* const alert = controller->hosting().findChild<QQuickItem*>(QStringLiteral("alert"));
    ASSERT_NE(alert, nullptr);
    QAccessibleInterface* const heard = QAccessible::queryAccessibleInterface(alert);
    ASSERT_NE(heard, nullptr);
    EXPECT_EQ(heard->role(), QAccessible::AlertMessage);
    EXPECT_EQ(heard->text(QAccessible::Name), words);
    EXPECT_TRUE(alert->isVisible());
    // It is heard each time that it comes up.
    QSignalSpy comings(alert, &QQuickItem::visibleChanged);
    store.upsert(permission(a));
    settle();
    EXPECT_EQ(comings.size(), 0);
    show({permission(b), permission(c)});
    EXPECT_EQ(comings.size(), 2);
    EXPECT_EQ(heard->text(QAccessible::Name), QStringLiteral("2 asks have come"));
    // The label that only measures is read out nowhere.
    QStringList names;
    const std::function<void(QAccessibleInterface*)> read = [&](QAccessibleInterface* accessible) {
        names.append(accessible->text(QAccessible::Name));
        for (int i = 0; i < accessible->childCount(); ++i)
            read(accessible->child(i));
    };
    read(QAccessible::queryAccessibleInterface(&controller->hosting()));
    EXPECT_TRUE(names.contains(QStringLiteral("45s left")));
    EXPECT_FALSE(names.contains(QStringLiteral("580s left")));
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
