#pragma once

#include <QString>

namespace pelorin {

/// The link that a phone opens to be paired: the relay's address and the token, both without blanks at their ends,
/// nothing escaped. It carries the token: show it, never log it.
QString phoneSetupLink(const QString& relayURL, const QString& relayToken);

} // namespace pelorin
