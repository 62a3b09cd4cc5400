#include "BeaconryKit/terminal/ExpandedAsk.h"

#include "BeaconryKit/terminal/PromptParser.h"

#include <QStringList>

namespace pelorin {

namespace {

constexpr qsizetype detailLines = 20;

} // namespace

AskEvent expandedAsk(AskEvent ask, const QString& screenText) {
    const ParsedPrompt prompt = PromptParser::parse(screenText);
    const QStringList lines = screenText.split(u'\n', Qt::SkipEmptyParts);
    ask.detail = lines.sliced(std::max<qsizetype>(lines.size() - detailLines, 0)).join(u'\n');
    ask.options = prompt.options;
    ask.acceptsText = prompt.acceptsText;
    return ask;
}

bool isSameFolded(const AskEvent& left, AskEvent right) {
    right.detail = left.detail;
    right.options = left.options;
    right.acceptsText = left.acceptsText;
    return left == right;
}

} // namespace pelorin
