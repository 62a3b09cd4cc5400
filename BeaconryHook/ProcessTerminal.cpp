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

NamedProcess findCli(pid_t cliProcess, pid_t hook, ProcessLookup lookUp) {
    const auto own = lookUp(hook);
    if (own && own->terminal.empty() && own->session > 0) {
        pid_t process = own->parent;
        // The first process is nobody's CLI: the hook has lost its own.
        for (int generation = 0; generation < ancestorLimit && process > 1; ++generation) {
            const auto facts = lookUp(process);
            if (!facts)
                break;
            if (facts->session != own->session)
                return {process, facts->startTime};
            process = facts->parent;
        }
    }
    const auto named = cliProcess > 0 ? lookUp(cliProcess) : std::nullopt;
    return named ? NamedProcess{cliProcess, named->startTime} : NamedProcess();
}

} // namespace pelorin::hook
