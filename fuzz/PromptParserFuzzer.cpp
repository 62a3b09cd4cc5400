#include "tests/support/IcuPromptParser.h"

#include "BeaconryKit/terminal/PromptParser.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace {

using namespace pelorin;

/// What the patterns look at, halves of characters included, which no UTF-8 text can hold.
const std::array<QString, 41> pieces{" ",
                                     "  ",
                                     "\t",
                                     "\r",
                                     "\n",
                                     "\u000b",
                                     "\f",
                                     "\u0085",
                                     "\u00a0",
                                     "\u1680",
                                     "\u2028",
                                     "\u2029",
                                     "\u3000",
                                     "\u200b",
                                     "\u276f",
                                     ">",
                                     "0",
                                     "1",
                                     "23",
                                     "\u0661",
                                     "\U0001d7d9",
                                     "\U0001e4f3",
                                     QString(QChar(0xd835)),
                                     QString(QChar(0xdfd9)),
                                     ".",
                                     ")",
                                     "x",
                                     "Yes",
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
                                     QString(QChar(0))};

/// Bytes that start with 0xff, which no text does, name pieces; others are the screen itself.
QString screen(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0 || bytes[0] != 0xff)
        return QString::fromUtf8(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    QString text;
    for (std::size_t at = 1; at < size; ++at)
        text += pieces[bytes[at] % pieces.size()];
    return text;
}

/// Counts what is compared, and tells it when the program ends.
class Comparisons {
public:
    ~Comparisons() { std::cerr << "ICU agrees on " << m_lines << " lines.\n"; }
    void add(const QString& text) { m_lines += text.count(u'\n') + 1; }

private:
    qsizetype m_lines = 0;
};

} // namespace

/// Whatever a screen holds, the parser finds what ICU's engine finds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    // ICU takes quadratic time for long lines, and cubic for some; the parser itself is tried with any.
    constexpr qsizetype longestComparison = 1024;
    static IcuPromptParser icu;
    static Comparisons comparisons;
    const QString text = screen(bytes, size);
    const ParsedPrompt prompt = PromptParser::parse(text);
    if (text.size() > longestComparison)
        return 0;
    const auto expected = icu.parse(text);
    if (!expected)
        return 0;
    if (*expected != prompt) {
        std::cerr << "ICU reads this screen otherwise: " << text.toUtf8().toHex(' ').constData() << '\n';
        std::abort();
    }
    comparisons.add(text);
    return 0;
}
