#pragma once

#include <QString>

namespace pelorin {

enum class LineBreaks { keep, join };

/// The text as it may be shown on a row: at most `limit` UTF-16 units (cut between user-perceived characters, with an
/// ellipsis), and with every character that could make the rest look like something else made visible. Controls turn
/// into their pictures. Marks that override the direction of writing, and characters that are not seen at all, turn
/// into their code point, as in "[U+202E]": a command must not be able to show itself as another one. Line feeds stay
/// where `breaks` keeps them, and are blanks where a name must not take more than its one line.
QString displayText(const QString& text, qsizetype limit, LineBreaks breaks = LineBreaks::keep);

} // namespace pelorin
