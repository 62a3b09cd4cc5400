#pragma once

#include <chrono>
#include <functional>

namespace pelorin {

/// Asks a millisecond apart whether the condition holds, until it does or the time is up. Whether it did. For what
/// another process does, which nothing announces; time is only spent when the test fails.
bool eventually(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(20));

} // namespace pelorin
