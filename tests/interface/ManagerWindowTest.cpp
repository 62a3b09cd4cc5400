#include "tests/interface/ManagerFixture.h"

#include "BeaconryKit/interface/manager/WindowPlace.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QPalette>
#include <QTest>
#include <QTimer>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

class ManagerWindowTest : public ManagerFixture {
protected:
    ~ManagerWindowTest() override { QGuiApplication::setPalette(m_before); }

    static void setDesktopIsDark(bool isDark) {
        QPalette palette;
        palette.setColor(QPalette::Window, isDark ? Qt::black : Qt::white);
        palette.setColor(QPalette::WindowText, isDark ? Qt::white : Qt::black);
        QGuiApplication::setPalette(palette);
    }

    QColor background() { return window().rootObject()->property("color").value<QColor>(); }

    /// The items that the Tab key reaches, from the first to the first again.
    QList<QQuickItem*> focusWalk() {
        QList<QQuickItem*> walk;
        for (int i = 0; i < 200; ++i) {
            key(Qt::Key_Tab);
            QQuickItem* const item = window().activeFocusItem();
            if (walk.contains(item))
                break;
            walk.append(item);
        }
        return walk;
    }

    static QString accessibleName(QQuickItem* item) {
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(item);
        return accessible ? accessible->text(QAccessible::Name) : QString();
    }

    void fill() {
        for (int i = 0; i < 3; ++i) {
            SessionInfo session;
            session.sessionId = QString::number(i);
            session.cwd = QStringLiteral("/home/ada/projects/a-project-with-a-rather-long-name-") + session.sessionId;
            session.tty = QStringLiteral("pts/3");
            session.optIn = true;
            registry.registerSession(session);
        }
        SessionInfo rightToLeft;
        rightToLeft.sessionId = QStringLiteral("rtl");
        rightToLeft.label = QStringLiteral("مشروع المنارة ").repeated(20);
        rightToLeft.source = QStringLiteral("שלום");
        registry.registerSession(rightToLeft);
        store.upsert(withAnswers(permissionAsk(QStringLiteral("a")), {QString(90, u'x'), QStringLiteral("No")}));
        settings.setRelayToken(QStringLiteral("t"));
    }

private:
    QPalette m_before = QGuiApplication::palette();
};

TEST_F(ManagerWindowTest, IsMadeWhenItIsFirstShown) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    EXPECT_EQ(controller.window(), nullptr);
    EXPECT_EQ(dispatch.waitingTasks(), 0);
    controller.show();
    ASSERT_NE(controller.window(), nullptr);
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(window().title(), QStringLiteral("AI Session Manager"));
    EXPECT_TRUE(eventually([&] { return window().isActive(); }));
}

TEST_F(ManagerWindowTest, ClosingItOnlyHidesIt) {
    show(settingsTab);
    ManagerWindow* const before = controller.window();
    window().close();
    EXPECT_FALSE(window().isVisible());
    controller.show();
    EXPECT_EQ(controller.window(), before);
    EXPECT_TRUE(window().isVisible());
    // As it was left.
    EXPECT_EQ(facade().tab(), settingsTab);
    settle();
    EXPECT_TRUE(says(QStringLiteral("Claude Code hooks")));
}

TEST_F(ManagerWindowTest, EscapeAndControlWHideIt) {
    show(pendingTab);
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
    show(pendingTab);
    QTest::keyClick(&window(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ManagerWindowTest, DoesNotHoldUpTheApplicationsEnd) {
    show(pendingTab);
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    EXPECT_EQ(QGuiApplication::exec(), 0);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ManagerWindowTest, DoesNothingWhileItIsHidden) {
    store.upsert(permissionAsk(QStringLiteral("a"), dispatch.now()));
    show(pendingTab);
    // The countdown runs.
    EXPECT_EQ(dispatch.waitingTasks(), 1);
    window().close();
    dispatch.advance(1s);
    EXPECT_EQ(dispatch.waitingTasks(), 0);
    EXPECT_EQ(visible("ScrollPage").size() + visible("AskList").size(), 0);
    store.upsert(permissionAsk(QStringLiteral("b"), dispatch.now()));
    registry.setMuted(true, QStringLiteral("b"));
    settings.setSilentMode(true);
    EXPECT_EQ(dispatch.waitingTasks(), 0);
    EXPECT_EQ(facade().pendingCount(), 1);
    // It catches up when it is shown.
    show(pendingTab);
    EXPECT_EQ(facade().pendingCount(), 2);
    EXPECT_EQ(visible("PendingRow").size(), 2);
}

TEST_F(ManagerWindowTest, FollowsTheStoresOnALaterTurnWithOneLook) {
    show(pendingTab);
    const std::size_t waiting = dispatch.waitingTasks();
    store.upsert(permissionAsk(QStringLiteral("a")));
    registry.setMuted(true, QStringLiteral("b"));
    settings.setSilentMode(true);
    EXPECT_EQ(dispatch.waitingTasks(), waiting + 1);
    EXPECT_EQ(facade().pendingCount(), 0);
    dispatch.runDue();
    EXPECT_EQ(facade().pendingCount(), 1);
}

TEST_F(ManagerWindowTest, OutlivesNothingThatItWaitsFor) {
    {
        ManagerWindowController other(
            parts(), [](const AskEvent&, const AskAction&) {}, [](const SessionInfo&) {});
        other.show();
        store.upsert(permissionAsk(QStringLiteral("a"), dispatch.now()));
        other.facade()->phone()->loadPhones();
        other.facade()->phone()->regenerateToken();
        other.facade()->hooks()->install();
    }
    for (const auto& sent : transport.sent)
        sent.fail();
    dispatch.runDue();
    EXPECT_EQ(dispatch.waitingTasks(), 0);
}

TEST_F(ManagerWindowTest, HasFourTabsInOrder) {
    show(pendingTab);
    QList<QQuickItem*> tabs = visible("ManagerTabButton");
    std::ranges::sort(tabs, {}, [](QQuickItem* tab) { return tab->mapToScene({0, 0}).x(); });
    QStringList names;
    QStringList symbolNames;
    for (QQuickItem* tab : tabs) {
        names.append(tab->property("name").toString());
        symbolNames.append(tab->property("symbol").toString());
    }
    EXPECT_EQ(names.join(u' '), QStringLiteral("Pending Sessions Phone Settings"));
    EXPECT_EQ(symbolNames.join(u' '), QStringLiteral("bell terminal iphone gearshape"));
    for (const auto& [name, type] : {std::pair("Sessions", "SessionsTab"), std::pair("Phone", "PhoneTab"),
                                     std::pair("Settings", "SettingsTab"), std::pair("Pending", "PendingTab")}) {
        click(QString::fromLatin1(name));
        EXPECT_EQ(visible(type).size(), 1) << name;
        EXPECT_EQ(visible("PendingTab").size() + visible("SessionsTab").size() + visible("PhoneTab").size() +
                      visible("SettingsTab").size(),
                  1);
    }
}

TEST_F(ManagerWindowTest, ReachesTheTabsByKeys) {
    show(pendingTab);
    for (const auto& [letter, tab] : {std::pair(Qt::Key_E, settingsTab), std::pair(Qt::Key_H, phoneTab),
                                      std::pair(Qt::Key_S, sessionsTab), std::pair(Qt::Key_P, pendingTab)}) {
        key(letter, Qt::AltModifier);
        EXPECT_EQ(facade().tab(), tab);
    }
    key(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(facade().tab(), sessionsTab);
    key(Qt::Key_PageUp, Qt::ControlModifier);
    key(Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(facade().tab(), settingsTab);
    key(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(facade().tab(), pendingTab);
    control(QStringLiteral("Pending"))->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Left);
    EXPECT_EQ(facade().tab(), pendingTab);
    key(Qt::Key_Right);
    key(Qt::Key_Right);
    EXPECT_EQ(facade().tab(), phoneTab);
    EXPECT_TRUE(control(QStringLiteral("Phone"))->hasActiveFocus());
}

TEST_F(ManagerWindowTest, MarksTheLettersWhileTheirKeyIsDown) {
    show(settingsTab);
    EXPECT_TRUE(says(QStringLiteral("Settings")));
    QTest::keyPress(&window(), Qt::Key_Alt);
    EXPECT_TRUE(says(QStringLiteral("S<u>e</u>ttings")));
    QTest::keyRelease(&window(), Qt::Key_Alt);
    EXPECT_TRUE(says(QStringLiteral("Settings")));
}

TEST_F(ManagerWindowTest, NoLetterReachesTwoControlsOfATab) {
    fill();
    for (const Tab tab : {pendingTab, sessionsTab, phoneTab, settingsTab}) {
        show(tab);
        QStringList letters;
        for (const char* type : {"Pressable", "LabelledLine"}) {
            for (QQuickItem* item : visible(type)) {
                const QString letter = item->property("mnemonic").toString().toUpper();
                if (!letter.isEmpty())
                    letters.append(letter);
            }
        }
        EXPECT_GE(letters.size(), 4);
        EXPECT_EQ(letters.removeDuplicates(), 0) << tab;
    }
}

TEST_F(ManagerWindowTest, OpensWhereThePanelDoesNotCoverIt) {
    QRect taken;
    controller.keepClearOf([&] { return taken; });
    show(pendingTab);
    const QRect screen = window().screen()->availableGeometry();
    // Something else is taken: the window stays where it is.
    const QRect before = window().geometry();
    taken = QRect(screen.right() - 20, screen.bottom() - 20, 10, 10);
    controller.show();
    EXPECT_EQ(window().geometry(), before);
    taken = QRect(screen.left(), screen.top(), screen.width(), 60);
    controller.show();
    EXPECT_FALSE(window().frameGeometry().intersects(taken));
    EXPECT_TRUE(screen.contains(window().frameGeometry()));
}

TEST_F(ManagerWindowTest, SaysALineForSomeSeconds) {
    EXPECT_FALSE(controller.announce(QStringLiteral("too early")));
    show(pendingTab);
    EXPECT_FALSE(says(QStringLiteral("too early")));
    EXPECT_TRUE(controller.announce(QStringLiteral("The terminal is gone.")));
    settle();
    EXPECT_TRUE(says(QStringLiteral("The terminal is gone.")));
    dispatch.advance(ManagerWindowController::announcementTime);
    settle();
    EXPECT_FALSE(says(QStringLiteral("The terminal is gone.")));
}

TEST(WindowPlace, IsNeverUnderWhatIsTakenWhileThereIsRoom) {
    const QRect screen(0, 0, 1920, 1080);
    const QSize wanted(900, 800);
    const QSize smallest(560, 420);
    const auto place = [&](const QRect& taken) {
        return windowPlace({.wanted = wanted, .smallest = smallest, .available = screen, .taken = taken});
    };
    EXPECT_EQ(place({}), QRect(510, 140, 900, 800));
    // Below, beside, below and smaller, beside and smaller.
    EXPECT_EQ(place({730, 0, 460, 200}), QRect(510, 240, 900, 800));
    EXPECT_EQ(place({0, 0, 700, 500}), QRect(860, 140, 900, 800));
    EXPECT_EQ(place({730, 0, 460, 500}), QRect(510, 500, 900, 580));
    EXPECT_EQ(place({730, 0, 460, 800}), QRect(1190, 140, 730, 800));
    // There is no room anywhere.
    EXPECT_EQ(place({0, 0, 1920, 800}), QRect(680, 660, 560, 420));
    for (int height = 10; height < 1080; height += 10) {
        for (int width = 460; width < 1300; width += 60) {
            const QRect taken((1920 - width) / 2, 0, width, height);
            const QRect at = place(taken);
            EXPECT_TRUE(screen.contains(at));
            if (1080 - height >= smallest.height() || (1920 - width) / 2 >= smallest.width()) {
                EXPECT_FALSE(at.intersects(taken)) << width << " " << height;
            }
        }
    }
}

TEST_F(ManagerWindowTest, IsAsDarkAsTheDesktop) {
    setDesktopIsDark(false);
    show(pendingTab);
    EXPECT_GT(background().lightnessF(), 0.9);
    setDesktopIsDark(true);
    EXPECT_TRUE(eventually([&] { return background().lightnessF() < 0.2; }));
    setDesktopIsDark(false);
    EXPECT_TRUE(eventually([&] { return background().lightnessF() > 0.9; }));
}

TEST_F(ManagerWindowTest, TheDesktopsWordCountsMoreThanItsPalette) {
    setDesktopIsDark(false);
    show(pendingTab);
    facade().setDesktopScheme(ManagerFacade::DarkScheme);
    EXPECT_LT(background().lightnessF(), 0.2);
    setDesktopIsDark(true);
    facade().setDesktopScheme(ManagerFacade::LightScheme);
    EXPECT_GT(background().lightnessF(), 0.9);
}

TEST_F(ManagerWindowTest, TabReachesEveryControlAndComesBack) {
    fill();
    for (const Tab tab : {pendingTab, sessionsTab, phoneTab, settingsTab}) {
        show(tab);
        const QList<QQuickItem*> walk = focusWalk();
        for (const char* type : {"PushButton", "ToggleSwitch", "ChoiceBar"}) {
            for (QQuickItem* item : visible(type)) {
                if (item->isEnabled()) {
                    EXPECT_TRUE(walk.contains(item)) << tab << ": " << item->property("name").toString().toStdString();
                }
            }
        }
        for (const char* type : {"QQuickTextInput", "QQuickTextEdit"}) {
            for (QQuickItem* item : visible(type))
                EXPECT_TRUE(walk.contains(item)) << tab << ": " << accessibleName(item).toStdString();
        }
    }
}

TEST_F(ManagerWindowTest, ShowsTheControlThatHasTheKeys) {
    show(settingsTab);
    for (QQuickItem* item : focusWalk()) {
        item->forceActiveFocus(Qt::TabFocusReason);
        const QRectF place = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        EXPECT_TRUE(QRectF(0, 0, window().width(), window().height()).contains(place))
            << accessibleName(item).toStdString() << " " << place.y();
    }
}

TEST_F(ManagerWindowTest, TellsAssistiveTechnologyWhatEverythingIs) {
    fill();
    for (const Tab tab : {pendingTab, sessionsTab, phoneTab, settingsTab}) {
        show(tab);
        for (QQuickItem* item : focusWalk()) {
            QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(item);
            ASSERT_NE(accessible, nullptr);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
                << tab << " " << item->metaObject()->className();
            EXPECT_NE(accessible->role(), QAccessible::NoRole);
            EXPECT_NE(accessible->role(), QAccessible::Client) << item->metaObject()->className();
        }
    }
}

TEST_F(ManagerWindowTest, NothingIsCutOffAtItsSmallestSize) {
    fill();
    markInstalled();
    show(pendingTab);
    window().resize(window().minimumSize());
    ASSERT_TRUE(eventually([&] { return window().rootObject()->width() == window().minimumWidth(); }));
    EXPECT_GE(window().minimumWidth(), 320);
    EXPECT_LE(window().minimumWidth(), 640);
    EXPECT_LE(window().minimumHeight(), 480);
    for (const Tab tab : {pendingTab, sessionsTab, phoneTab, settingsTab}) {
        show(tab);
        for (const char* type : {"QQuickText", "Pressable", "ChoiceBar", "NumberLine", "TextLine"}) {
            for (QQuickItem* item : visible(type)) {
                const QRectF place = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
                EXPECT_GE(place.left(), 0) << tab << " " << item->property("text").toString().toStdString();
                EXPECT_LE(place.right(), window().width())
                    << tab << " " << item->property("text").toString().toStdString();
            }
        }
    }
}

TEST_F(ManagerWindowTest, WrapsTextsInsteadOfCuttingThem) {
    show(settingsTab);
    window().resize(window().minimumSize());
    ASSERT_TRUE(eventually([&] { return window().rootObject()->width() == window().minimumWidth(); }));
    settle();
    for (QQuickItem* text : visible("BodyText")) {
        EXPECT_FALSE(text->property("truncated").toBool());
        EXPECT_LE(text->property("contentWidth").toReal(), text->width() + 0.5)
            << text->property("text").toString().toStdString();
    }
}

} // namespace
} // namespace pelorin
