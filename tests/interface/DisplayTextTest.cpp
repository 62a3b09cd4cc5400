#include "BeaconryKit/interface/asks/DisplayText.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

TEST(DisplayText, LeavesOrdinaryTextAlone) {
    const QString text =
        QStringLiteral("Bash: echo 'héllo — שלום' | tee 👩‍👩‍👧 \u00A0.txt\nsecond line");
    EXPECT_EQ(displayText(text, 1000), text);
    EXPECT_EQ(displayText({}, 10), QString());
}

TEST(DisplayText, ShowsMarksThatWouldTurnTheTextAround) {
    EXPECT_EQ(displayText(QStringLiteral("cat a\u202Etxt.exe\u202C"), 100),
              QStringLiteral("cat a[U+202E]txt.exe[U+202C]"));
    EXPECT_EQ(displayText(QStringLiteral("\u202A\u202B\u202D"), 100), QStringLiteral("[U+202A][U+202B][U+202D]"));
    EXPECT_EQ(displayText(QStringLiteral("\u2066\u2067\u2068\u2069"), 100),
              QStringLiteral("[U+2066][U+2067][U+2068][U+2069]"));
}

TEST(DisplayText, ShowsControlsAsTheirPictures) {
    EXPECT_EQ(displayText(QStringLiteral("a\u001B[2Kb\u0007\u007F\rc"), 100),
              QStringLiteral("a\u241B[2Kb\u2407\u2421\u240Dc"));
    EXPECT_EQ(displayText(QString(QChar(0)), 100), QStringLiteral("\u2400"));
    EXPECT_EQ(displayText(QString(QChar(0x9B)), 100), QStringLiteral("[U+009B]"));
}

TEST(DisplayText, ShowsCharactersThatAreNotSeen) {
    for (const char32_t character : {0xADU, 0x34FU, 0x61CU, 0x115FU, 0x180EU, 0x200BU, 0x200EU, 0x200FU, 0x2060U,
                                     0x2064U, 0x206FU, 0x3164U, 0xFEFFU, 0xFFA0U, 0xE0001U, 0xE0041U, 0xE007FU}) {
        const QString number = QString::number(character, 16).toUpper().rightJustified(4, u'0');
        const QString hidden = QStringView(QChar::fromUcs4(character)).toString();
        EXPECT_EQ(displayText(QStringLiteral("rm") + hidden + QStringLiteral(" -rf"), 100),
                  QStringLiteral("rm[U+%1] -rf").arg(number));
        EXPECT_EQ(displayText(hidden, 100), QStringLiteral("[U+%1]").arg(number));
    }
}

TEST(DisplayText, ShowsJoinersOnlyWhereTheyJoinNothing) {
    EXPECT_EQ(displayText(QStringLiteral("r\u200Dm \u200Cx a\uFE0Fb"), 100),
              QStringLiteral("r[U+200D]m [U+200C]x a[U+FE0F]b"));
    const QString meaningful = QStringLiteral("می\u200Cخواهم 👩\u200D👩\u200D👧 1\uFE0F\u20E3 ❤\uFE0F");
    EXPECT_EQ(displayText(meaningful, 100), meaningful);
}

TEST(DisplayText, MakesBlanksOfTabsAndForeignLineBreaks) {
    EXPECT_EQ(displayText(QStringLiteral("a\tb\u2028c\u2029d\u0085e"), 100), QStringLiteral("a b c d e"));
}

TEST(DisplayText, KeepsANameOnOneLine) {
    EXPECT_EQ(displayText(QStringLiteral("a\nb\n"), 100, LineBreaks::join), QStringLiteral("a b "));
}

TEST(DisplayText, CutsLongTextWithAnEllipsis) {
    EXPECT_EQ(displayText(QStringLiteral("abcdef"), 6), QStringLiteral("abcdef"));
    EXPECT_EQ(displayText(QStringLiteral("abcdefg"), 6), QStringLiteral("abcdef…"));
}

TEST(DisplayText, CutsBetweenUserPerceivedCharacters) {
    // An e with an accent of its own: the cut falls before both.
    EXPECT_EQ(displayText(QStringLiteral("abe\u0301d"), 3), QStringLiteral("ab…"));
    // A family of three takes eight units.
    EXPECT_EQ(displayText(QStringLiteral("ab👩‍👩‍👧d"), 5), QStringLiteral("ab…"));
    // One that is longer than all there is room for is cut all the same.
    EXPECT_EQ(displayText(QStringLiteral("e") + QStringLiteral("\u0301").repeated(50), 4).size(), 5);
}

} // namespace
} // namespace pelorin
