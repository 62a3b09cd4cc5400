#include "tests/interface/MessageCapture.h"
#include "tests/interface/PanelFixture.h"

#include "BeaconryKit/interface/InterfaceEngine.h"

#include <QAccessible>
#include <QFont>
#include <QFontInfo>
#include <QGuiApplication>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

AskEvent hostile(const QString& id, const QString& text) {
    AskEvent ask = withAnswers(permissionAsk(id), {text, text + text, QStringLiteral("No")});
    ask.cwd = QStringLiteral("/home/ada/") + QString(text).remove(u'/');
    ask.source = text;
    ask.agentType = text;
    ask.toolName = text;
    ask.actionSummary = text;
    ask.detail = text;
    return ask;
}

struct Text {
    const char* name;
    QString text;
};

/// Whether the item is within what a terminal shows.
bool isInABlock(const QQuickItem* item) {
    while (item && !QByteArray(item->metaObject()->className()).startsWith("TerminalText"))
        item = item->parentItem();
    return item;
}

class HostileText : public PanelFixture, public ::testing::WithParamInterface<Text> {};

TEST_P(HostileText, StaysWithinThePanelAndOffTheControls) {
    MessageCapture messages;
    AskEvent notice = hostile(QStringLiteral("n"), GetParam().text);
    notice.requestId.clear();
    notice.sessionId = QStringLiteral("n");
    notice.message = GetParam().text;
    AskEvent permission = hostile(QStringLiteral("p"), GetParam().text);
    permission.receivedAt = dispatch.now();
    settings.setDecisionWaitSeconds(580);
    screens->list = {{QRect(0, 0, 1280, 4000), 0, true, nullptr}};
    show({permission, notice});
    controller->asks().setFold(QStringLiteral("p"), AskListModel::Fold::expanded);
    controller->asks().setFold(QStringLiteral("n"), AskListModel::Fold::expanded);
    settleAndArm();

    EXPECT_EQ(panel().width(), 460);
    QQuickItem& content = controller->hosting();
    const QRectF bounds({0, 0}, content.size());
    int texts = 0;
    for (QQuickItem* item : itemsOfType(&content, "QQuickText")) {
        if (!item->isVisible() || item->opacity() == 0)
            continue;
        ++texts;
        const QRectF place = rectangleIn(item, &content);
        // What a scrolling block holds is clipped by the block.
        if (isInABlock(item))
            continue;
        EXPECT_GE(place.left(), 0) << item->property("text").toString().toStdString();
        EXPECT_LE(place.right(), bounds.right()) << item->property("text").toString().toStdString();
        EXPECT_LE(item->property("paintedWidth").toReal(), item->width() + 1)
            << item->property("text").toString().toStdString();
        EXPECT_LE(item->property("paintedHeight").toReal(), item->height() + 1);
    }
    EXPECT_GT(texts, 10);

    for (const QString& id : {QStringLiteral("p"), QStringLiteral("n")}) {
        QList<QQuickItem*> controls = itemsOfType(row(id), "Pressable");
        controls.removeIf([](QQuickItem* item) { return !item->isVisible(); });
        EXPECT_GE(controls.size(), 7);
        for (QQuickItem* item : controls) {
            const QRectF place = rectangleIn(item, &content);
            EXPECT_TRUE(bounds.contains(place)) << item->property("name").toString().toStdString();
            for (QQuickItem* other : controls) {
                if (other != item) {
                    EXPECT_FALSE(place.intersects(rectangleIn(other, &content)));
                }
            }
            for (QQuickItem* text : itemsOfType(row(id), "QQuickText")) {
                if (text->isVisible() && !item->isAncestorOf(text) && !isInABlock(text)) {
                    EXPECT_FALSE(place.adjusted(1, 1, -1, -1).intersects(rectangleIn(text, &content)))
                        << item->property("name").toString().toStdString() << " and "
                        << text->property("text").toString().left(40).toStdString();
                }
            }
        }
    }
    EXPECT_EQ(messages.warnings().filter(QStringLiteral("qml")).join(u'\n').toStdString(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileText,
    ::testing::Values(Text{"unbroken", QStringLiteral("x").repeated(900)},
                      Text{"Arabic", QStringLiteral("هذا نص طويل من اليمين إلى اليسار ").repeated(12)},
                      Text{"mixed", QStringLiteral("echo 'שלום עולם' > file.txt && ").repeated(12)},
                      Text{"lines", QStringLiteral("first\nsecond\nthird\n").repeated(20)},
                      Text{"wide", QStringLiteral("漢字テスト").repeated(60)},
                      Text{"markup", QStringLiteral("<b>bold</b><img src='x'><h1>&amp;</h1>").repeated(10)},
                      Text{"stacked", QStringLiteral("e") + QStringLiteral("\u0301").repeated(80)},
                      Text{"short", QStringLiteral("x")}),
    [](const ::testing::TestParamInfo<Text>& parameter) { return parameter.param.name; });

class PanelLayoutTest : public PanelFixture {};

TEST_F(PanelLayoutTest, NeverTakesTextForMarkup) {
    show({hostile(QStringLiteral("a"), QStringLiteral("<b>x</b>"))});
    for (QQuickItem* item : itemsOfType(&controller->hosting(), "QQuickText"))
        EXPECT_EQ(item->property("textFormat").toInt(), 0) << item->property("text").toString().toStdString();
}

TEST_F(PanelLayoutTest, ShowsTheSourceTheProjectTheDotAndTheSubAgent) {
    AskEvent ask = permissionAsk(QStringLiteral("a"), dispatch.now());
    ask.source = QStringLiteral("codex");
    ask.agentType = QStringLiteral("Explore");
    show({ask, permissionAsk(QStringLiteral("b"), dispatch.now())});
    QStringList shown;
    for (QQuickItem* item : itemsOfType(row(QStringLiteral("a")), "QQuickText")) {
        if (item->isVisible())
            shown.append(item->property("text").toString().remove(QChar(0x2060)));
    }
    EXPECT_TRUE(shown.contains(QStringLiteral("Codex")));
    EXPECT_TRUE(shown.contains(QStringLiteral("lighthouse")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Explore")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Bash: cmake --build build --target a")));
    const auto branches = [&](const QString& id) {
        QList<QQuickItem*> symbols = itemsOfType(row(id), "pelorin::SymbolItem");
        symbols.removeIf([](QQuickItem* item) {
            return !item->isVisible() || item->property("symbol") != QStringLiteral("arrow.turn.down.right");
        });
        return symbols.size();
    };
    EXPECT_EQ(branches(QStringLiteral("a")), 1);
    EXPECT_EQ(branches(QStringLiteral("b")), 0);
}

TEST_F(PanelLayoutTest, ShowsAFewLinesOfALongCommandInAMonospacedFace) {
    AskEvent ask = permissionAsk(QStringLiteral("a"), dispatch.now());
    ask.actionSummary = QStringLiteral("word ").repeated(40);
    show({ask});
    for (QQuickItem* item : itemsOfType(row(QStringLiteral("a")), "QQuickText")) {
        if (!item->property("text").toString().startsWith(QStringLiteral("Bash: ")))
            continue;
        EXPECT_EQ(item->property("lineCount").toInt(), 4);
        EXPECT_TRUE(item->property("truncated").toBool());
        EXPECT_TRUE(QFontInfo(item->property("font").value<QFont>()).fixedPitch());
        return;
    }
    FAIL() << "The command is not shown.";
}

TEST_F(PanelLayoutTest, DoesNotBreakACommandBehindAHyphen) {
    AskEvent ask = permissionAsk(QStringLiteral("a"), dispatch.now());
    ask.actionSummary = QStringLiteral("rm -rf --no-preserve-root -v build");
    show({ask});
    const QList<QQuickItem*> texts = itemsOfType(row(QStringLiteral("a")), "QQuickText");
    const bool isGlued = std::ranges::any_of(texts, [](QQuickItem* item) {
        return item->property("text").toString().startsWith(QStringLiteral("Bash: rm -\u2060rf -\u2060-\u2060no"));
    });
    EXPECT_TRUE(isGlued);
}

TEST(PanelWidth, GrowsWithTheTextThatTheUserSet) {
    const QFont before = QGuiApplication::font();
    QFont large = before;
    large.setPointSize(22);
    QGuiApplication::setFont(large);
    {
        ManualDispatch dispatch;
        MemoryUserDefaults defaults;
        NotifierSettings settings(defaults);
        AskStore store;
        auto screens = std::make_unique<FakeScreens>();
        FakeScreens* const seen = screens.get();
        NotchPanelController controller(
            store, settings, dispatch, [](const AskEvent&, const AskAction&) {},
            {std::move(screens), std::make_unique<FakePlatform>(), std::make_shared<InterfaceEngine>()});
        store.upsert(permissionAsk(QStringLiteral("a"), dispatch.now()));
        dispatch.runDue();
        EXPECT_GT(controller.panel().frame().width(), 460);
        EXPECT_EQ(controller.hosting().property("layoutWidth").toInt(), controller.panel().frame().width());
        seen->set({{QRect(0, 0, 400, 800), 0, true, nullptr}});
        dispatch.runDue();
        EXPECT_EQ(controller.panel().frame().width(), 400);
    }
    QGuiApplication::setFont(before);
}

// What assistive technology is told.

void collect(QAccessibleInterface* interface, QList<QAccessibleInterface*>& all) {
    if (!interface)
        return;
    all.append(interface);
    for (int i = 0; i < interface->childCount(); ++i)
        collect(interface->child(i), all);
}

class PanelAccessibility : public PanelFixture {
protected:
    QList<QAccessibleInterface*> interfaces() {
        QList<QAccessibleInterface*> all;
        collect(QAccessible::queryAccessibleInterface(&panel()), all);
        return all;
    }

    QAccessibleInterface* named(const QString& name) {
        for (QAccessibleInterface* interface : interfaces()) {
            if (interface->text(QAccessible::Name) == name)
                return interface;
        }
        return nullptr;
    }
};

TEST_F(PanelAccessibility, NamesEveryControl) {
    AskEvent ask = withAnswers(permissionAsk(QStringLiteral("a"), dispatch.now()), {QStringLiteral("Yes, do it")});
    show({ask});
    controller->asks().setFold(QStringLiteral("a"), AskListModel::Fold::expanded);
    settleAndArm();
    int buttons = 0;
    int fields = 0;
    for (QAccessibleInterface* interface : interfaces()) {
        if (interface->role() == QAccessible::Button) {
            ++buttons;
            EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty());
        }
        if (interface->role() == QAccessible::EditableText) {
            ++fields;
            EXPECT_EQ(interface->text(QAccessible::Name), QStringLiteral("Reply"));
            EXPECT_EQ(interface->text(QAccessible::Description), QStringLiteral("Type a reply to the session…"));
        }
    }
    // Jump, details, dismiss, deny, allow, one option, send.
    EXPECT_EQ(buttons, 7);
    EXPECT_EQ(fields, 1);
    const auto description = [&](const char* name) {
        QAccessibleInterface* const interface = named(QString::fromLatin1(name));
        return interface ? interface->text(QAccessible::Description) : QStringLiteral("(none of that name)");
    };
    EXPECT_EQ(description("Allow"), QStringLiteral("Allow this action"));
    EXPECT_EQ(description("Deny"), QStringLiteral("Deny this action"));
    EXPECT_EQ(description("Jump"), QStringLiteral("Jump to this session"));
    EXPECT_NE(named(QStringLiteral("Yes, do it")), nullptr);
    EXPECT_NE(named(QStringLiteral("45s left")), nullptr);
}

TEST_F(PanelAccessibility, SaysWhatARowIsAbout) {
    AskEvent ask = permissionAsk(QStringLiteral("a"), dispatch.now());
    ask.agentType = QStringLiteral("Explore");
    show({ask});
    QAccessibleInterface* const interface =
        named(QStringLiteral("Claude, lighthouse, sub-agent Explore: Bash: cmake --build build --target a"));
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->role(), QAccessible::ListItem);
    EXPECT_NE(named(QStringLiteral("Pelorin")), nullptr);
}

TEST_F(PanelAccessibility, PressesAButton) {
    show({permissionAsk(QStringLiteral("a"), dispatch.now())});
    QAccessibleInterface* const interface = named(QStringLiteral("Deny"));
    ASSERT_NE(interface, nullptr);
    ASSERT_NE(interface->actionInterface(), nullptr);
    interface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(reports, std::vector<Report>({{QStringLiteral("a"), AskAction::deny()}}));
}

} // namespace
} // namespace pelorin
