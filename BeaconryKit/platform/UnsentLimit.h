#pragma once

#include <QtGlobal>

namespace pelorin {

/// Keeps the operating system from taking more than about `bytes` of what a TCP connection can't send yet: whatever is
/// sent later has that much before it at the most. `descriptor` is a connected TCP socket; failures change nothing.
void limitUnsent(qintptr descriptor, int bytes);

} // namespace pelorin
