#pragma once

namespace pelorin {

/// The page that stands in for a phone: it lists what waits, with Allow and Deny, and has a line for the phone
/// terminal. It takes its token from the setup link that opened it.
extern const char* const phonePage;

} // namespace pelorin
