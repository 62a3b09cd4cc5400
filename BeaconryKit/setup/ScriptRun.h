#pragma once

#include "BeaconryKit/platform/Programs.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <tl/expected.hpp>

#include <map>

namespace pelorin {

/// A process's environment, by the names of the variables.
using Environment = std::map<QByteArray, QByteArray>;

/// The environment of this process.
Environment processEnvironment();

/// Runs a program with exactly this environment and no input, and waits for it to end. An error is the system's
/// description of why it can't be started. May be called from any thread, which it blocks.
tl::expected<ProgramOutcome, QString> runScript(const QByteArray& executable, const QList<QByteArray>& arguments,
                                                const Environment& environment);

} // namespace pelorin
