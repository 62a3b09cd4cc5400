#pragma once

#include <QByteArrayView>

namespace pelorin {

/// The port that hooks post to unless the environment says otherwise.
inline constexpr quint16 defaultServerPort = 45789;

/// The name of the environment variable that overrides the port.
inline constexpr const char* serverPortVariable = "BEACONRY_PORT";

/// The port that the variable's value names: a whole decimal number of 16 bits, with an optional "+" in front ("-" only
/// before a zero). Anything else, and an empty value, gives the default.
quint16 serverPort(QByteArrayView variableValue);

} // namespace pelorin
