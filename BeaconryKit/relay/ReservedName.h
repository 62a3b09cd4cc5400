#pragma once

#include <QString>

namespace pelorin {

/// Whether the host's name is one that never names a machine: under "example" or "invalid", which RFC 2606 keeps free
/// for that. Not so "test", which private networks use, and "localhost", which is this machine.
bool isReservedName(const QString& host);

} // namespace pelorin
