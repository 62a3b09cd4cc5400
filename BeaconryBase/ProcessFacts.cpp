#include "BeaconryBase/ProcessFacts.h"

#include "BeaconryBase/WholeNumber.h"

#ifdef __linux__
#include <sys/sysmacros.h>
#endif

namespace pelorin {

namespace {

constexpr int fieldsBetweenTerminalAndStart = 14;

std::string_view takeField(std::string_view& text) {
    const std::size_t start = text.find_first_not_of(" \n");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const std::string_view field = text.substr(0, text.find_first_of(" \n"));
    text.remove_prefix(field.size());
    return field;
}

// Twelve bits of the major number stand within those of the minor one.

unsigned long majorOf(unsigned long number) {
    return (number >> 8) & 0xFFF;
}

unsigned long minorOf(unsigned long number) {
    return (number & 0xFF) | ((number >> 12) & 0xFFF00);
}

} // namespace

std::string linuxTerminalName(unsigned long number) {
    const unsigned long major = majorOf(number);
    const unsigned long minor = minorOf(number);
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
    const auto parent = wholeNumber<pid_t>(takeField(rest));
    takeField(rest); // process group
    const auto session = wholeNumber<pid_t>(takeField(rest));
    const auto terminal = wholeNumber<long>(takeField(rest));
    if (!parent || !session || !terminal)
        return std::nullopt;
    const auto number = static_cast<unsigned long>(*terminal);
    for (int field = 0; field < fieldsBetweenTerminalAndStart; ++field)
        takeField(rest);
    return ProcessFacts{.parent = *parent,
                        .terminal = linuxTerminalName(number),
                        .startTime = wholeNumber<std::uint64_t>(takeField(rest)).value_or(0),
                        .session = *session,
                        .terminalDevice = makedev(majorOf(number), minorOf(number))};
}

} // namespace pelorin
