#include "BeaconryHook/ProcessTerminal.h"

#include "BeaconryBase/WholeNumber.h"

#include <utility>

namespace pelorin::hook {

namespace {

// No real chain of parents is that long. The limit only ends a circle in a broken answer of the system.
constexpr int ancestorLimit = 64;

} // namespace

pid_t processIdIn(std::string_view text) {
    const pid_t process = wholeNumber<pid_t>(text).value_or(0);
    return process > 0 ? process : 0;
}

std::string findTerminal(pid_t cliProcess, pid_t parent, ProcessLookup lookUp) {
    if (cliProcess > 0) {
        if (auto facts = lookUp(cliProcess); facts && !facts->terminal.empty())
            return std::move(facts->terminal);
    }
    for (int generation = 0; generation < ancestorLimit && parent > 0; ++generation) {
        auto facts = lookUp(parent);
        if (!facts)
            break;
        if (!facts->terminal.empty())
            return std::move(facts->terminal);
        parent = facts->parent;
    }
    return {};
}

} // namespace pelorin::hook
