#pragma once

namespace pelorin {

/// Raises the process's soft limit of open descriptors to its hard limit: every waiting permission request holds one.
/// A refusal leaves the limit as it was.
void raiseDescriptorLimit();

/// Puts the soft limit back to what it was before it was raised, for the program that takes this process's place: some
/// close every number up to it, others can only watch the first 1,024. May be called between fork and exec.
void putDescriptorLimitBack();

} // namespace pelorin
