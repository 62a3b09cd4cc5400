#pragma once

#include "BeaconryKit/terminal/CommandLauncher.h"

#include <QList>

namespace pelorin {

/// Notes the commands that it is to start, the program's path first.
class RecordingLauncher final : public CommandLauncher {
public:
    void start(const QString& path, const QStringList& arguments) override {
        starts.append(QStringList(path) + arguments);
    }

    QList<QStringList> starts;
};

} // namespace pelorin
