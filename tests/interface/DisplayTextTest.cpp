#include "BeaconryKit/interface/asks/DisplayText.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

TEST(DisplayText, LeavesOrdinaryTextAlone) {
    const QString text =
        QStringLiteral("Bash: echo 'héllo — שלום' | tee 👩‍👩‍👧 \u200E\u00A0.txt\nsecond line");
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
