#pragma once

#include "BeaconryKit/terminal/CommandLauncher.h"

namespace pelorin {

/// Starts real programs, which run at the same time. They have our standard streams and no other descriptor of ours,
/// and leave no zombies. May be used on any thread.
class ProcessLauncher final : public CommandLauncher {
public:
    void start(const QString& path, const QStringList& arguments) override;
};

} // namespace pelorin
