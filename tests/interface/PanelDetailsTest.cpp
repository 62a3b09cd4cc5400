#include "tests/interface/PanelFixture.h"

namespace pelorin {
namespace {

using PanelDetailsTest = PanelFixture;

TEST_F(PanelDetailsTest, ReportsUnfoldingButNotFolding) {
    show({permission(a)});
    click(a, showDetails);
    EXPECT_EQ(reports, std::vector<Report>({{a, AskAction::expand()}}));
    click(a, hideDetails);
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_NE(control(a, showDetails), nullptr);
}

TEST_F(PanelDetailsTest, ShowsTheTerminalOfAnUnfoldedRow) {
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

TEST_F(PanelDetailsTest, ShowsTheEndOfALongTerminal) {
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

TEST_F(PanelDetailsTest, BreaksNoWordsAndWrapsNoRules) {
    AskEvent ask = permission(a);
    ask.detail = QString(300, u'─') + QStringLiteral("\n╭") + QString(200, u'─') +
                 QStringLiteral("╮\n│ rm -rf ./build") + QString(200, u' ') + QStringLiteral("│\n") +
                 QStringLiteral("instrumentation ").repeated(12) + QStringLiteral("\n") + QString(300, u'x');
    show({ask});
    click(a, showDetails);
    settle();
    QQuickItem* const block = itemsOfType(row(a), "TerminalText").first();
    QQuickItem* const text = itemsOfType(block, "QQuickText").first();
    const QStringList lines = text->property("text").toString().split(u'\n');
    ASSERT_EQ(lines.size(), 5);
    const int columns = block->property("columns").toInt();
    EXPECT_GT(columns, 40);
    EXPECT_EQ(lines[0], QString(columns, u'─'));
    EXPECT_EQ(lines[1], QStringLiteral("╭") + QString(columns - 1, u'─'));
    EXPECT_EQ(lines[2], QStringLiteral("│ rm -\u2060rf ./build"));
    EXPECT_LE(text->property("contentWidth").toReal(), text->width());
    EXPECT_EQ(text->property("wrapMode").toInt(), 4);
    // The rules take one line each.
    const int wordLines = (12 + (columns / 16) - 1) / (columns / 16);
    const int longLines = (300 + columns - 1) / columns;
    EXPECT_EQ(text->property("lineCount").toInt(), 3 + wordLines + longLines);
}

TEST_F(PanelDetailsTest, WrapsTheOptionsAndReportsTheirPosition) {
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

} // namespace
} // namespace pelorin
