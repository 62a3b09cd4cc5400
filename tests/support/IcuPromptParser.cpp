#include "tests/support/IcuPromptParser.h"

#include <array>
#include <cstdlib>
#include <unicode/uregex.h>
#include <unicode/uset.h>

namespace pelorin {

namespace {

const UChar* units(const QString& text) {
    return reinterpret_cast<const UChar*>(text.utf16());
}

class Pattern {
public:
    explicit Pattern(const char16_t* pattern) {
        UErrorCode status = U_ZERO_ERROR;
        m_expression = uregex_open(pattern, -1, 0, nullptr, &status);
        // Long lines of blanks need more than the default.
        uregex_setStackLimit(m_expression, 0, &status);
        // In steps of the engine, about a millisecond each: some lines of blanks take it a time that grows as the cube
        // of their length.
        uregex_setTimeLimit(m_expression, 200, &status);
        if (U_FAILURE(status))
            std::abort();
    }
    ~Pattern() { uregex_close(m_expression); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    /// Whether it is found; nothing when ICU gives up. The text must live until the captures are read.
    std::optional<bool> find(const QString& text) {
        UErrorCode status = U_ZERO_ERROR;
        uregex_setText(m_expression, units(text), static_cast<int32_t>(text.size()), &status);
        const bool found = uregex_find(m_expression, 0, &status);
        return U_FAILURE(status) ? std::nullopt : std::optional(found);
    }

    /// The text of a group of the last match; nothing when it took no part.
    std::optional<QString> group(const QString& text, int32_t number) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t start = uregex_start(m_expression, number, &status);
        const int32_t end = uregex_end(m_expression, number, &status);
        return start < 0 ? std::nullopt : std::optional(text.sliced(start, end - start));
    }

    QString removeAll(const QString& text) {
        UErrorCode status = U_ZERO_ERROR;
        uregex_setText(m_expression, units(text), static_cast<int32_t>(text.size()), &status);
        QString result(text.size() + 1, QChar(0));
        const int32_t length = uregex_replaceAll(m_expression, u"", 0, reinterpret_cast<UChar*>(result.data()),
                                                 static_cast<int32_t>(result.size()), &status);
        if (U_FAILURE(status))
            std::abort();
        result.truncate(length);
        return result;
    }

private:
    URegularExpression* m_expression = nullptr;
};

QString trimmed(QString line) {
    static USet* const blanks = [] {
        UErrorCode status = U_ZERO_ERROR;
        return uset_openPattern(u"[\\p{Zs}\\t]", -1, &status);
    }();
    while (!line.isEmpty() && uset_contains(blanks, line.front().unicode()))
        line.remove(0, 1);
    while (!line.isEmpty() && uset_contains(blanks, line.back().unicode()))
        line.chop(1);
    return line;
}

} // namespace

struct IcuPromptParser::Patterns {
    Pattern controlSequence{u"\u001b\\[[0-9;]*[A-Za-z]"};
    Pattern option{u"^\\s*(\u276f|>)?\\s*(\\d+)[.)]\\s+(.+?)\\s*$"};
    Pattern question{u"[Dd]o you want to .+\\?"};
};

IcuPromptParser::IcuPromptParser() : m_patterns(std::make_unique<Patterns>()) {
}

IcuPromptParser::~IcuPromptParser() = default;

std::optional<ParsedPrompt> IcuPromptParser::parse(const QString& text) {
    ParsedPrompt prompt;
    for (const QString& line : m_patterns->controlSequence.removeAll(text).split(u'\n')) {
        const auto isOption = m_patterns->option.find(line);
        if (!isOption)
            return std::nullopt;
        if (*isOption) {
            if (m_patterns->option.group(line, 1).value_or(QString()).contains(QChar(0x276f)))
                prompt.currentIndex = prompt.options.size();
            prompt.options.append({*m_patterns->option.group(line, 2), *m_patterns->option.group(line, 3)});
            continue;
        }
        const auto isQuestion = m_patterns->question.find(line);
        if (!isQuestion)
            return std::nullopt;
        if (*isQuestion)
            prompt.question = trimmed(line);
    }
    prompt.acceptsText = prompt.options.isEmpty();
    return prompt;
}

} // namespace pelorin
