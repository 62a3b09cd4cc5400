#include "BeaconryKit/terminal/PromptParser.h"

#include "BeaconryKit/terminal/PromptPatterns.h"

namespace pelorin {

namespace {

/// Horizontal white space: the space separators (general category Zs) and the tab. Line ends stay.
QStringView trimmed(QStringView line) {
    const auto isBlank = [](QChar unit) {
        return unit == u'\t' || unit.category() == QChar::Separator_Space;
    };
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

void readLine(QStringView line, ParsedPrompt& prompt) {
    if (const auto option = PromptPatterns::option(line)) {
        if (option->isHighlighted)
            prompt.currentIndex = prompt.options.size();
        prompt.options.append({option->key.toString(), option->label.toString()});
    } else if (PromptPatterns::containsQuestion(line)) {
        prompt.question = trimmed(line).toString();
    }
}

} // namespace

ParsedPrompt PromptParser::parse(const QString& text) {
    const QString plainText = PromptPatterns::withoutControlSequences(text);
    ParsedPrompt prompt;
    QStringView rest = plainText;
    for (qsizetype end = rest.indexOf(u'\n'); end >= 0; end = rest.indexOf(u'\n')) {
        readLine(rest.first(end), prompt);
        rest = rest.sliced(end + 1);
    }
    readLine(rest, prompt);
    prompt.acceptsText = prompt.options.isEmpty();
    return prompt;
}

} // namespace pelorin
