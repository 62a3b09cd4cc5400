#pragma once

#include <string>
#include <string_view>

namespace pelorin::hook {

// A row that says what is asked must not give way to a notice that says only that something is asked. So the helper
// that has posted it leaves a record, until the session goes on. `directory` is that of the waiting records; without
// one nothing is known.

/// Records that this process has posted what the session asks.
void recordShown(const std::string& directory, std::string_view session);

/// Whether what the session asks has been posted, and whether this process was the last to do so.
bool isShown(const std::string& directory, std::string_view session);
bool isShownByThis(const std::string& directory, std::string_view session);

/// Removes the session's record.
void forgetShown(const std::string& directory, std::string_view session);

} // namespace pelorin::hook
