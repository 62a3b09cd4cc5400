#include "BeaconryHook/ProcessTerminal.h"

#include <charconv>

namespace pelorin::hook {

namespace {

// More than any real chain of parents; it only bounds what a broken answer of the system could do.
constexpr int ancestorLimit = 64;

constexpr int fieldsBetweenTerminalAndStart = 14;

std::string_view takeField(std::string_view& text) {
    const std::size_t start = text.find_first_not_of(" \n");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const std::string_view field = text.substr(0, text.find_first_of(" \n"));
    text.remove_prefix(field.size());
    return field;
}

template <class Number>
bool parseNumber(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

pid_t processIdIn(std::string_view text) {
    pid_t process = 0;
    return parseNumber(text, process) && process > 0 ? process : 0;
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

std::string linuxTerminalName(unsigned long number) {
    const unsigned long major = (number >> 8) & 0xFFF;
    const unsigned long minor = (number & 0xFF) | ((number >> 12) & 0xFFF00);
    constexpr unsigned long firstSerialLine = 64;
    if (major >= 136 && major <= 143)
        return "pts/" + std::to_string(minor + (major - 136) * 256);
    switch (major) {
    case 4:
        return minor < firstSerialLine ? "tty" + std::to_string(minor)
                                       : "ttyS" + std::to_string(minor - firstSerialLine);
    case 166:
        return "ttyACM" + std::to_string(minor);
    case 188:
        return "ttyUSB" + std::to_string(minor);
    case 204:
        return minor >= firstSerialLine ? "ttyAMA" + std::to_string(minor - firstSerialLine) : std::string();
    case 229:
        return "hvc" + std::to_string(minor);
    default:
        return {};
    }
}

std::optional<ProcessFacts> parseProcessStat(std::string_view stat) {
    // The program's name stands in parentheses, and may itself hold any character.
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = stat.substr(nameEnd + 1);
    takeField(rest); // state
    ProcessFacts facts;
    const bool hasParent = parseNumber(takeField(rest), facts.parent);
    takeField(rest); // process group
    takeField(rest); // session
    long terminal = 0;
    if (!hasParent || !parseNumber(takeField(rest), terminal))
        return std::nullopt;
    facts.terminal = linuxTerminalName(static_cast<unsigned long>(terminal));
    for (int field = 0; field < fieldsBetweenTerminalAndStart; ++field)
        takeField(rest);
    parseNumber(takeField(rest), facts.startTime);
    return facts;
}

} // namespace pelorin::hook
