#pragma once

#include "BeaconryHook/CliAdapter.h"

namespace pelorin::hook {

// The rows of the table behind `adapterFor`.

extern const CliAdapter claudeAdapter;
extern const CliAdapter codexAdapter;
extern const CliAdapter geminiAdapter;
extern const CliAdapter opencodeAdapter;
extern const CliAdapter cursorAdapter;

} // namespace pelorin::hook
