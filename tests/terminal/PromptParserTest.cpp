#include "BeaconryKit/terminal/PromptParser.h"

#include "tests/support/IcuPromptParser.h"

#include "BeaconryKit/terminal/PromptPatterns.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <unicode/uchar.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

const QString highlight{QChar(0x276f)};

ParsedPrompt parse(const QString& text) {
    return PromptParser::parse(text);
}

TEST(PromptParser, FindsNothingInAnEmptyText) {
    const ParsedPrompt prompt = parse("");
    EXPECT_EQ(prompt, ParsedPrompt());
    EXPECT_EQ(prompt.question, std::nullopt);
    EXPECT_TRUE(prompt.options.isEmpty());
    EXPECT_TRUE(prompt.acceptsText);
    EXPECT_EQ(prompt.currentIndex, std::nullopt);
}

TEST(PromptParser, ReadsAMenuWithItsHighlightedOption) {
    const ParsedPrompt prompt = parse("❯ 1. Yes\n  2. Yes, and don't ask again\n  3. No");
    EXPECT_THAT(prompt.options, ElementsAre(PromptOption{"1", "Yes"}, PromptOption{"2", "Yes, and don't ask again"},
                                            PromptOption{"3", "No"}));
    EXPECT_EQ(prompt.currentIndex, 0);
    EXPECT_FALSE(prompt.acceptsText);
    EXPECT_EQ(prompt.question, std::nullopt);
}

TEST(PromptParser, TakesAnAngleBracketForAMarkerButNotForAHighlight) {
    const ParsedPrompt prompt = parse("> 2) No");
    EXPECT_THAT(prompt.options, ElementsAre(PromptOption{"2", "No"}));
    EXPECT_EQ(prompt.currentIndex, std::nullopt);
}

TEST(PromptParser, KeepsTheLastHighlightedOptionOfAllMenusOnTheScreen) {
    const ParsedPrompt prompt =
        parse("❯ 1. Old\n  2. Older\n\nDo you want to go on?\n  1. New\n❯ 2. Newer\n> 3. Newest");
    EXPECT_EQ(prompt.options.size(), 5);
    EXPECT_EQ(prompt.currentIndex, 3);
    EXPECT_EQ(prompt.question, "Do you want to go on?");
}

TEST(PromptParser, KeepsTheLastQuestion) {
    EXPECT_EQ(parse("Do you want to sit?\nDo you want to stand?\n1. Do you want to run?").question,
              "Do you want to stand?");
}

TEST(PromptParser, CountsAQuestionOnAnOptionsLineAsAnOption) {
    const ParsedPrompt prompt = parse("1. Do you want to proceed?");
    EXPECT_THAT(prompt.options, ElementsAre(PromptOption{"1", "Do you want to proceed?"}));
    EXPECT_EQ(prompt.question, std::nullopt);
}

TEST(PromptParser, TrimsBlanksAndTabsOffAQuestionButNoLineEnds) {
    EXPECT_EQ(parse("\t  do you want to continue? \t").question, "do you want to continue?");
    EXPECT_EQ(parse(QString("\u00a0\u3000do you want to go?\u2003")).question, "do you want to go?");
    EXPECT_EQ(parse("  do you want to continue?  \r\nx").question, "do you want to continue?  \r");
    EXPECT_EQ(parse("\u000b do you want to go?").question, "\u000b do you want to go?");
}

TEST(PromptParser, SplitsAtLineFeedsAlone) {
    EXPECT_THAT(parse("1. A\r\n2. B\r\n\r\n").options, ElementsAre(PromptOption{"1", "A"}, PromptOption{"2", "B"}));
    EXPECT_TRUE(parse("1. A\r2. B").options.isEmpty());
}

struct OptionLine {
    QString line;
    /// Empty for a line that is no option.
    QString key;
    QString label;
};

class OptionLines : public ::testing::TestWithParam<OptionLine> {};

TEST_P(OptionLines, AreRecognised) {
    const ParsedPrompt prompt = parse(GetParam().line);
    if (GetParam().key.isEmpty())
        EXPECT_TRUE(prompt.options.isEmpty()) << prompt.options.value(0).label.toStdString();
    else
        EXPECT_THAT(prompt.options, ElementsAre(PromptOption{GetParam().key, GetParam().label}));
    EXPECT_EQ(IcuPromptParser().parse(GetParam().line), prompt);
}

INSTANTIATE_TEST_SUITE_P(
    PromptParser, OptionLines,
    ::testing::Values(
        OptionLine{"1. Yes", "1", "Yes"}, OptionLine{"1) Yes", "1", "Yes"}, OptionLine{"007. Bond  ", "007", "Bond"},
        OptionLine{"12.\tTab", "12", "Tab"}, OptionLine{"\t❯\t3.  Wide  label ", "3", "Wide  label"},
        OptionLine{"❯1. Close", "1", "Close"}, OptionLine{">9) Close", "9", "Close"},
        OptionLine{"1. 2. 3", "1", "2. 3"}, OptionLine{"1. .", "1", "."}, OptionLine{"1.Yes", "", ""},
        OptionLine{"1. ", "", ""}, OptionLine{"1.", "", ""}, OptionLine{"1", "", ""}, OptionLine{". Yes", "", ""},
        OptionLine{"1: Yes", "", ""}, OptionLine{"1 . Yes", "", ""}, OptionLine{"-1. Yes", "", ""},
        OptionLine{"1.5. Yes", "", ""}, OptionLine{"x 1. Yes", "", ""}, OptionLine{"❯ ❯ 1. Yes", "", ""},
        OptionLine{"❯> 1. Yes", "", ""}, OptionLine{"(1) Yes", "", ""},
        // With nothing but blanks behind the number, the last one that `.` takes is the label, if two are there.
        OptionLine{"1.  ", "1", " "}, OptionLine{"1. \t", "1", "\t"}, OptionLine{"1. \t\r", "1", "\t"},
        OptionLine{"1. \r", "", ""}, OptionLine{"1.\r\r ", "1", " "}, OptionLine{"1.\r\r\r", "", ""},
        // Every blank of Unicode is one.
        OptionLine{QString("\u3000\u276f\u00a01.\u2028Label\u1680\u0085"), "1", "Label"},
        OptionLine{QString("1.\u200bLabel"), "", ""}, OptionLine{QString("1.\u180eLabel"), "", ""},
        // A label does not reach across a line end.
        OptionLine{"1. A\rB", "", ""}, OptionLine{QString("1. A\u2029B"), "", ""},
        OptionLine{QString("1. A\u000cB"), "", ""}, OptionLine{"1. A\r", "1", "A"}, OptionLine{"1.\rA", "1", "A"},
        // Every decimal digit is one, of every plane; other numbers are none.
        OptionLine{QString("\u0661\u0662. Arabic"), QString("\u0661\u0662"), "Arabic"},
        OptionLine{QString("\U0001d7d9) Mathematical"), QString("\U0001d7d9"), "Mathematical"},
        OptionLine{QString("\U0001e4f3. Mundari"), QString("\U0001e4f3"), "Mundari"},
        OptionLine{QString("\u00b9. Superscript"), "", ""}, OptionLine{QString("\u2460. Circled"), "", ""},
        OptionLine{QString("\u2167. Roman"), "", ""}, OptionLine{QString("\u4e00. Han"), "", ""},
        // Half a character is no digit, but a fine label.
        OptionLine{QString(QChar(0xd835)) + ". x", "", ""},
        OptionLine{"1. " + QString(QChar(0xdfd9)), "1", QString(QChar(0xdfd9))},
        OptionLine{"1. \U0001f600", "1", "\U0001f600"},
        OptionLine{"1. " + QString(QChar(0)) + "x", "1", QString(QChar(0)) + "x"}));

struct QuestionLine {
    QString line;
    bool isQuestion;
};

class QuestionLines : public ::testing::TestWithParam<QuestionLine> {};

TEST_P(QuestionLines, AreRecognised) {
    EXPECT_EQ(parse(GetParam().line).question.has_value(), GetParam().isQuestion);
    EXPECT_EQ(IcuPromptParser().parse(GetParam().line), parse(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    PromptParser, QuestionLines,
    ::testing::Values(QuestionLine{"Do you want to proceed?", true}, QuestionLine{"do you want to continue?", true},
                      QuestionLine{"So: do you want to go? Think.", true}, QuestionLine{"Do you want to ??", true},
                      QuestionLine{"DO YOU WANT TO continue?", false}, QuestionLine{"dO you want to go?", false},
                      QuestionLine{"Do You want to go?", false}, QuestionLine{"Do you want to ?", false},
                      QuestionLine{"Do you want to go", false}, QuestionLine{"Go? Do you want to", false},
                      QuestionLine{"Do you want  to go?", false}, QuestionLine{"o you want to go?", false},
                      QuestionLine{"xo you want to do you want to go?", true},
                      QuestionLine{"Do you want to\rgo?", false}, QuestionLine{"Do you want to go\r?", false},
                      QuestionLine{"no?\rDo you want to go?\rno", true},
                      QuestionLine{QString("Do you want to \u2028x?"), false},
                      QuestionLine{"Do you want to \U0001f600?", true},
                      QuestionLine{"Do you want to " + QString(QChar(0xd83d)) + "?", true}));

TEST(PromptParser, ReadsColouredOutputAsPlain) {
    EXPECT_EQ(parse("\u001b[1;32m❯ 1. Yes\u001b[0m\n\u001b[2K\u001b[31mDo you want \u001b[0mto go?\u001b[m"),
              parse("❯ 1. Yes\nDo you want to go?"));
    EXPECT_EQ(parse("\u001b[1;32m❯ 1. Yes\u001b[0m").currentIndex, 0);
}

struct Stripping {
    const char* text;
    const char* plain;
};

class ControlSequences : public ::testing::TestWithParam<Stripping> {};

TEST_P(ControlSequences, AreRemovedInOnePass) {
    EXPECT_EQ(PromptPatterns::withoutControlSequences(GetParam().text), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(PromptParser, ControlSequences,
                         ::testing::Values(Stripping{"a\033[0mb\033[1;31mc\033[Hd\033[;;Ze", "abcde"},
                                           Stripping{"\033[", "\033["}, Stripping{"\033", "\033"},
                                           Stripping{"\033[12;", "\033[12;"}, Stripping{"\033[?25l", "\033[?25l"},
                                           Stripping{"\033]0;title\a", "\033]0;title\a"},
                                           Stripping{"\033[1\033[mx", "\033[1x"}, Stripping{"\033\033[mx", "\033x"},
                                           // What a removal brings together is not looked at again.
                                           Stripping{"\033[\033[mm", "\033[m"}, Stripping{"\033[1é", "\033[1é"},
                                           Stripping{"\033[\n1m", "\033[\n1m"},
                                           // Other control characters stay.
                                           Stripping{"\a\b\033[A\177", "\a\b\177"}));

TEST(PromptParser, ReadsEveryCharacterAsIcuDoes) {
    constexpr char32_t batch = 256;
    IcuPromptParser icu;
    std::size_t blanks = 0;
    std::size_t digits = 0;
    for (char32_t first = 0; first <= 0x10ffff; first += batch) {
        // An option where the character is a blank, a marker or a digit.
        QString start;
        // Options where it is a blank, and where it is no line end. The basic plane holds all blanks and line ends.
        QString inside;
        for (char32_t character = first; character < first + batch; ++character) {
            const QString text = character <= 0xffff ? QString(QChar(static_cast<char16_t>(character)))
                                                     : QString::fromUcs4(&character, 1);
            // What is younger only one of the two may know.
            UVersionInfo age{};
            u_charAge(static_cast<UChar32>(character), age);
            if (character == u'\n' || age[0] > 15)
                continue;
            start += text + "1. a\n";
            if (character <= 0xffff)
                inside += "2." + text + "b\n3. c" + text + "d\n";
        }
        const ParsedPrompt atStart = PromptParser::parse(start);
        ASSERT_EQ(icu.parse(start), atStart) << "from U+" << std::hex << static_cast<std::uint32_t>(first);
        ASSERT_EQ(icu.parse(inside), PromptParser::parse(inside))
            << "from U+" << std::hex << static_cast<std::uint32_t>(first);
        for (const PromptOption& option : atStart.options)
            ++(option.key == "1" ? blanks : digits);
    }
    // White_Space without the line feed, and the two markers, which stand where a blank may.
    EXPECT_EQ(blanks, 24U + 2U);
    EXPECT_EQ(digits, 680U);
}

/// Lines made of what the patterns look at.
QString randomLine(std::mt19937& random) {
    static const QStringList pieces{" ",
                                    " ",
                                    "  ",
                                    "\t",
                                    "\r",
                                    QString(QChar(0x0b)),
                                    "\f",
                                    QString(QChar(0x85)),
                                    QString(QChar(0xa0)),
                                    QString(QChar(0x2028)),
                                    QString(QChar(0x2029)),
                                    QString(QChar(0x3000)),
                                    QString(QChar(0x200b)),
                                    highlight,
                                    ">",
                                    "1",
                                    "23",
                                    "0",
                                    QString(QChar(0x0661)),
                                    "\U0001d7d9",
                                    "\U0001e4f3",
                                    QString(QChar(0xd835)),
                                    QString(QChar(0xdfd9)),
                                    ".",
                                    ")",
                                    ". ",
                                    ") ",
                                    "x",
                                    "Yes",
                                    "é",
                                    "\U0001f600",
                                    "?",
                                    "Do you want to ",
                                    "do you want to ",
                                    "o you want to ",
                                    "D",
                                    "\u001b",
                                    "\u001b[",
                                    "\u001b[0m",
                                    "\u001b[1;3",
                                    ";",
                                    "m",
                                    QString(QChar(0)),
                                    "\n"};
    QString line;
    const auto length = random() % 12;
    for (std::size_t piece = 0; piece < length; ++piece)
        line += pieces[static_cast<qsizetype>(random() % static_cast<std::size_t>(pieces.size()))];
    return line;
}

TEST(PromptParser, AgreesWithIcuOnRandomLines) {
    IcuPromptParser icu;
    std::mt19937 random(20261121);
    int options = 0;
    int questions = 0;
    for (int run = 0; run < 400'000; ++run) {
        const QString text = randomLine(random);
        const ParsedPrompt prompt = PromptParser::parse(text);
        ASSERT_EQ(icu.parse(text), prompt) << text.toUtf8().toHex(' ').toStdString();
        options += prompt.options.isEmpty() ? 0 : 1;
        questions += prompt.question ? 1 : 0;
    }
    // The lines are worth comparing only if the patterns do match some.
    EXPECT_GT(options, 1000);
    EXPECT_GT(questions, 1000);
}

class LongScreens : public ::testing::TestWithParam<QString> {};

/// The shortest time for a screen of the piece, over and over.
std::chrono::duration<double> timeFor(const QString& piece, qsizetype size) {
    const QString text = piece.repeated(size / piece.size());
    std::chrono::duration<double> best = std::chrono::hours(1);
    for (int run = 0; run < 3; ++run) {
        const auto start = std::chrono::steady_clock::now();
        PromptParser::parse(text);
        best = std::min<std::chrono::duration<double>>(best, std::chrono::steady_clock::now() - start);
    }
    return best;
}

TEST_P(LongScreens, TakeTimeInProportionToTheirSize) {
    constexpr qsizetype size = 1 << 17;
    // Sixteen times the text must not take anything near 256 times as long.
    EXPECT_LT(timeFor(GetParam(), 16 * size), 64 * timeFor(GetParam(), size) + std::chrono::milliseconds(20));
}

INSTANTIATE_TEST_SUITE_P(PromptParser, LongScreens,
                         ::testing::Values(" ", "1. x ", "1", "1. ", "\r", "Do you want to ", "o you want to ?", "?",
                                           "Do you want to \r?", "\u001b[", "\u001b[1;", "\u001b", "\u001b[m", "\n",
                                           " \n", "1. x\n", "do you want to x?\n", "❯ "));

} // namespace
} // namespace pelorin
