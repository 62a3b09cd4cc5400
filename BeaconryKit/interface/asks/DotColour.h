#pragma once

#include <QColor>
#include <QString>

namespace pelorin {

/// The colour that marks the session on screen, as the toolkit takes it.
QColor dotColour(const QString& sessionId);

} // namespace pelorin
