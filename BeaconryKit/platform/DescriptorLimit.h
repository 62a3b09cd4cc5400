#pragma once

namespace pelorin {

/// Raises the process's soft limit of open descriptors to its hard limit: every waiting permission request holds one.
/// A refusal leaves the limit as it was.
void raiseDescriptorLimit();

} // namespace pelorin
