#pragma once

#include "BeaconryKit/terminal/TerminalRunner.h"

#include <QList>

namespace pelorin {

/// Notes the commands that it is to run, the command's name first, and gives back the result that the test sets.
class RecordingRunner final : public TerminalRunner {
public:
    std::optional<QString> run(const QString& command, const QStringList& arguments) override {
        runs.append(QStringList(command) + arguments);
        return result;
    }

    QList<QStringList> runs;
    std::optional<QString> result = QString();
};

} // namespace pelorin
