#pragma once

#include <QString>

namespace pelorin {

/// The text without spaces and tabs at its ends; line ends stay.
QString trimBlanks(const QString& text);

} // namespace pelorin
