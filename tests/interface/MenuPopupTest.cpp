#include "BeaconryKit/interface/status/linux/MenuPopup.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

Menu sampleMenu() {
    return {{.title = "Open", .action = MenuAction::openManager},
            {.kind = MenuItem::Kind::separator},
            {.title = "Silent", .checkState = CheckState::on, .action = MenuAction::toggleSilentMode},
            {.title = "Sessions", .isEnabled = false},
            {.title = "one", .submenu = {{.title = "Jump to one", .action = MenuAction::jumpToSession}}},
            {.title = "two", .submenu = {{.title = "Jump to two", .action = MenuAction::toggleMute}}},
            {.title = "Quit", .keyEquivalent = "q", .action = MenuAction::quit}};
}

class MenuPopupTest : public ::testing::Test {
protected:
    ~MenuPopupTest() override { delete popup; }

    void open(const Menu& menu = sampleMenu(), const QPoint& place = QPoint(10, 10)) {
        popup = new MenuPopup(menu, [this](const MenuItem& item) { chosen << item.title; });
        QObject::connect(popup, &MenuPopup::closed, [this] { ++closings; });
        popup->popUp(place);
    }
    void click(const QString& title) {
        ASSERT_FALSE(popup->itemRect(title).isEmpty()) << title.toStdString();
        QTest::mouseClick(popup, Qt::LeftButton, {}, popup->itemRect(title).center());
    }
    void press(std::initializer_list<Qt::Key> keys) {
        for (const Qt::Key key : keys)
            QTest::keyClick(popup, key);
    }
    // A popup that has closed goes with a later turn of the event loop, which the sending of input may be.
    bool isOpen() const { return popup && popup->isVisible(); }
    static int screenHeight() { return QGuiApplication::primaryScreen()->geometry().height(); }

    QPointer<MenuPopup> popup;
    QStringList chosen;
    int closings = 0;
};

TEST_F(MenuPopupTest, AClickChoosesAndCloses) {
    open();
    click("Silent");
    EXPECT_EQ(chosen, QStringList("Silent"));
    EXPECT_EQ(closings, 1);
    EXPECT_FALSE(isOpen());
}

TEST_F(MenuPopupTest, WhatIsNoChoiceStaysWithoutEffect) {
    open();
    click("Sessions");
    QTest::mouseClick(popup, Qt::LeftButton, {}, QPoint(20, popup->itemRect("Silent").top() - 2));
    EXPECT_EQ(chosen, QStringList());
    EXPECT_TRUE(isOpen());
}

TEST_F(MenuPopupTest, LettingGoOfTheButtonThatOpenedItIsNoChoice) {
    open();
    QTest::mouseRelease(popup, Qt::LeftButton, {}, popup->itemRect("Open").center());
    EXPECT_EQ(chosen, QStringList());
    EXPECT_TRUE(isOpen());
}

TEST_F(MenuPopupTest, AClickElsewhereClosesIt) {
    open();
    QTest::mousePress(popup, Qt::LeftButton, {}, QPoint(-30, 5));
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(chosen, QStringList());
    EXPECT_EQ(closings, 1);
}

TEST_F(MenuPopupTest, OneSubmenuUnfoldsAtATime) {
    open();
    EXPECT_TRUE(popup->itemRect("Jump to one").isEmpty());
    const int folded = popup->height();
    click("one");
    EXPECT_EQ(popup->itemRect("Jump to one").top(), popup->itemRect("one").bottom() + 1);
    EXPECT_GT(popup->height(), folded);
    click("two");
    EXPECT_TRUE(popup->itemRect("Jump to one").isEmpty());
    click("Jump to two");
    EXPECT_EQ(chosen, QStringList("Jump to two"));
}

TEST_F(MenuPopupTest, ASecondClickFoldsItsSubmenu) {
    open();
    click("one");
    click("one");
    EXPECT_TRUE(popup->itemRect("Jump to one").isEmpty());
    EXPECT_TRUE(isOpen());
}

TEST_F(MenuPopupTest, TheItemStaysUnderThePointerThatUnfoldsIt) {
    const auto screenTop = [this](const QString& title) {
        return popup->mapToGlobal(popup->itemRect(title).topLeft()).y();
    };
    open(sampleMenu(), QPoint(10, 100));
    for (const QString title : {"one", "two", "one", "one"}) {
        const int before = screenTop(title);
        click(title);
        EXPECT_EQ(screenTop(title), before) << title.toStdString();
    }
    popup->close();
    // Where there is no room below, the submenu is above.
    open(sampleMenu(), QGuiApplication::primaryScreen()->geometry().bottomRight());
    for (const QString title : {"one", "two", "one"}) {
        const int before = screenTop(title);
        click(title);
        EXPECT_EQ(screenTop(title), before) << title.toStdString();
    }
    EXPECT_EQ(popup->itemRect("Jump to one").bottom() + 1, popup->itemRect("one").top());
    click("Jump to one");
    EXPECT_EQ(chosen, QStringList("Jump to one"));
}

TEST_F(MenuPopupTest, ADoubleClickUnfoldsAndDoesNoMore) {
    open();
    QTest::mouseDClick(popup, Qt::LeftButton, {}, popup->itemRect("two").center());
    EXPECT_FALSE(popup->itemRect("Jump to two").isEmpty());
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(chosen, QStringList());
}

TEST_F(MenuPopupTest, TheKeyBesideAnItemChoosesIt) {
    open();
    press({Qt::Key_Q});
    QTest::keyClick(popup, Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyClick(popup, Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(isOpen());
    QTest::keyClick(popup, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(chosen, QStringList("Quit"));
    EXPECT_FALSE(isOpen());
}

TEST_F(MenuPopupTest, TitlesHaveTheRoomTheyNeed) {
    const QFont before = QGuiApplication::font();
    const QStringList titles = {"Track Only wyrn Sessions", "\u2B51 api — pts/12 (muted) [Auto-deny]",
                                "Unmute Notifications", "Quit Pelorin"};
    for (qreal size = 7; size <= 16; size += 0.25) {
        QFont font = before;
        font.setPointSizeF(size);
        QGuiApplication::setFont(font);
        for (const QString& title : titles) {
            open({{.title = title, .action = MenuAction::openManager}});
            const auto [needed, given] = popup->titleWidths(title);
            EXPECT_GT(needed, 0);
            EXPECT_LE(needed, given) << title.toStdString() << " at " << size;
            delete popup;
        }
    }
    QGuiApplication::setFont(before);
}

TEST_F(MenuPopupTest, DrawsTheStarItself) {
    const auto starPixel = [this](const QString& title) {
        open({{.title = title, .action = MenuAction::openManager}});
        EXPECT_TRUE(QTest::qWaitForWindowExposed(popup));
        const QImage image = popup->screen()->grabWindow(popup->winId()).toImage();
        const QRect row = popup->itemRect(title);
        // In the middle of the square in front of the text, where a sign that the font lacks is an empty box.
        const QPoint place(24 + QFontMetrics(QGuiApplication::font()).height() / 2, row.center().y() + 1);
        const QRgb pixel = image.pixel(place * image.devicePixelRatio());
        delete popup;
        return pixel;
    };
    const QPalette palette = QGuiApplication::palette();
    EXPECT_EQ(starPixel("\u2B51 "), palette.color(QPalette::WindowText).rgb());
    EXPECT_EQ(starPixel(""), palette.color(QPalette::Window).rgb());
}

TEST_F(MenuPopupTest, TheKeyboardGoesAllTheWay) {
    open();
    // Past the separator and the header to the first session, into its submenu.
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Right, Qt::Key_Down, Qt::Key_Return});
    EXPECT_EQ(chosen, QStringList("Jump to one"));
    open();
    press({Qt::Key_Up, Qt::Key_Space});
    EXPECT_EQ(chosen, QStringList({"Jump to one", "Quit"}));
    open();
    press({Qt::Key_Up, Qt::Key_Down, Qt::Key_Enter});
    EXPECT_EQ(chosen.last(), "Open");
    open();
    press({Qt::Key_Up, Qt::Key_Up, Qt::Key_Right, Qt::Key_Left, Qt::Key_Left, Qt::Key_Right});
    EXPECT_FALSE(popup->itemRect("Jump to two").isEmpty());
    press({Qt::Key_Left});
    EXPECT_TRUE(popup->itemRect("Jump to two").isEmpty());
    press({Qt::Key_Escape});
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(chosen.size(), 3);
}

TEST_F(MenuPopupTest, StaysOnTheScreen) {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    open(sampleMenu(), screen.bottomRight());
    EXPECT_TRUE(screen.contains(popup->geometry()));
    click("one");
    EXPECT_TRUE(screen.contains(popup->geometry()));
}

TEST_F(MenuPopupTest, ScrollsWhereItIsHigherThanTheScreen) {
    Menu menu;
    for (int i = 0; i < 200; ++i)
        menu.push_back({.title = QString::number(i), .action = MenuAction::openManager});
    open(menu);
    EXPECT_EQ(popup->height(), screenHeight());
    EXPECT_GT(popup->itemRect("199").top(), popup->height());
    press({Qt::Key_Up});
    EXPECT_LE(popup->itemRect("199").bottom(), popup->height());
    EXPECT_LT(popup->itemRect("0").bottom(), 0);
    press({Qt::Key_Down});
    EXPECT_GE(popup->itemRect("0").top(), 0);
}

TEST_F(MenuPopupTest, CutsLongTitles) {
    open({{.title = QString(500, 'w'), .action = MenuAction::openManager}});
    EXPECT_LE(popup->width(), 520);
}

} // namespace
} // namespace pelorin
