#pragma once

#include "BeaconryKit/terminal/TerminalRunner.h"

#include <functional>

namespace pelorin {

/// A tmux with one pane, "%3", as commands reach it: shows the screen that the test sets and notes the keys.
class FakePane final : public TerminalRunner {
public:
    std::optional<QString> run(const QString& command, const QStringList& arguments) override {
        runs.append(QStringList(command) + arguments);
        if (arguments.contains(QStringLiteral("capture-pane")))
            return screen;
        if (arguments.contains(QStringLiteral("display-message")))
            return isScrolledBack ? QStringLiteral("1\n") : QStringLiteral("0\n");
        if (arguments.contains(QStringLiteral("send-keys"))) {
            keys.append(arguments.last());
            if (onKeys)
                onKeys(arguments.last());
        }
        return QString();
    }

    QList<QStringList> runs;
    /// What was typed, call by call.
    QStringList keys;
    std::optional<QString> screen;
    bool isScrolledBack = false;
    /// What the program in the pane does then.
    std::function<void(const QString& keys)> onKeys;
};

} // namespace pelorin
