#include "BeaconryKit/model/AskEvent.h"

#include <QJsonArray>
#include <QTextBoundaryFinder>
#include <gmock/gmock.h>

#include <random>

namespace pelorin {
namespace {

TEST(Summary, TakesTheKeyOfEachTool) {
    const QJsonObject input{{"command", "c"}, {"file_path", "f"}, {"url", "u"}, {"query", "q"}};
    const std::pair<const char*, const char*> rows[] = {
        {"Bash", "c"},         {"Edit", "f"},     {"Write", "f"},     {"MultiEdit", "f"},
        {"NotebookEdit", "f"}, {"WebFetch", "u"}, {"WebSearch", "q"},
    };
    for (const auto& [tool, expected] : rows) {
        EXPECT_EQ(AskEvent::summary(tool, input), expected) << tool;
        EXPECT_EQ(AskEvent::summary(tool, {}), "") << tool;
        EXPECT_EQ(AskEvent::summary(tool, {{"other", "x"}}), "") << tool;
        EXPECT_EQ(AskEvent::summary(tool, {{"command", 1}, {"file_path", 1}, {"url", 1}, {"query", 1}}), "") << tool;
    }
}

TEST(Summary, SaysThatAPlanWaitsWhateverItHolds) {
    EXPECT_EQ(AskEvent::summary("ExitPlanMode", {}), "approve the proposed plan");
    EXPECT_EQ(AskEvent::summary("ExitPlanMode", {{"plan", "x"}}), "approve the proposed plan");
}

TEST(Summary, SerialisesTheInputOfAnyOtherToolWithSortedKeys) {
    EXPECT_EQ(AskEvent::summary("mcp__lab__ping", {{"b", 1}, {"a", QJsonArray{2, "/x"}}}), R"({"a":[2,"/x"],"b":1})");
    EXPECT_EQ(AskEvent::summary("bash", {{"command", "ls"}}), R"({"command":"ls"})");
    EXPECT_EQ(AskEvent::summary("", {{"é", true}}), R"({"é":true})");
    EXPECT_EQ(AskEvent::summary("Task", {}), "");
}

QString summaryOf(const QString& command) {
    return AskEvent::summary("Bash", {{"command", command}});
}

class SummaryLength : public ::testing::TestWithParam<const char*> {};

TEST_P(SummaryLength, CountsWhatAPersonSeesAsOneCharacter) {
    const QString character = GetParam();
    EXPECT_EQ(summaryOf(character.repeated(199)), character.repeated(199));
    EXPECT_EQ(summaryOf(character.repeated(200)), character.repeated(200));
    EXPECT_EQ(summaryOf(character.repeated(201)), character.repeated(200) + "…");
    EXPECT_EQ(summaryOf(character.repeated(250)), character.repeated(200) + "…");
    EXPECT_EQ(summaryOf(character.repeated(5000)), character.repeated(200) + "…");
}

INSTANTIATE_TEST_SUITE_P(Characters, SummaryLength,
                         ::testing::Values("a", "é", "e\xCC\x81", "漢", "😀", "👨‍👩‍👧‍👦", "🇩🇪",
                                           "1️⃣", "👍🏽", "ก็",
                                           // More marks than the window first looked at has room for.
                                           "a\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81"
                                           "\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81"));

TEST(Summary, KeepsOneEndlessCharacterWhole) {
    const QString endless = "a" + QString(QChar(0x301)).repeated(100'000);
    EXPECT_EQ(summaryOf(endless), endless);
}

TEST(Summary, CutsRandomTextWhereTheWholeTextsBoundariesAre) {
    std::mt19937 random(7);
    const QStringList parts{"a",    "é",      "\u0301", "😀", "👨‍👩‍👧‍👦", "\u200d", "🇩", "\ufe0f", "한",
                            "\r\n", "\u1100", "\u0e47", "𝅘𝅥"};
    for (int round = 0; round < 2000; ++round) {
        QString text;
        const int count = 150 + static_cast<int>(random() % 2000);
        for (int part = 0; part < count; ++part)
            text += parts[static_cast<qsizetype>(random() % static_cast<unsigned>(parts.size()))];
        QTextBoundaryFinder whole(QTextBoundaryFinder::Grapheme, text);
        qsizetype end = 0;
        for (int character = 0; character < 200 && end >= 0 && end < text.size(); ++character)
            end = whole.toNextBoundary();
        const QString expected = end < 0 || end == text.size() ? text : text.left(end) + u'…';
        ASSERT_EQ(summaryOf(text), expected) << "round " << round;
    }
}

} // namespace
} // namespace pelorin
