#pragma once

#include <QStringView>

namespace pelorin {

/// The names by which terminal programs make themselves known to what runs in them (the variable TERM_PROGRAM).
class TerminalProgram {
public:
    TerminalProgram() = delete;

    static constexpr QStringView terminal = u"Apple_Terminal";
    static constexpr QStringView iTerm = u"iTerm.app";
    static constexpr QStringView ghostty = u"ghostty";
    static constexpr QStringView warp = u"WarpTerminal";
    static constexpr QStringView visualStudioCode = u"vscode";
};

} // namespace pelorin
