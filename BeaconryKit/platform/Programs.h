#pragma once

#include "BeaconryKit/platform/ChildProcess.h"

namespace pelorin {

/// Starts the program and forgets it: nobody learns what it prints or how it ends. The error is that of
/// `ChildProcess::start`. May be called on any thread, as all of these may.
tl::expected<void, std::error_code> launch(ChildProcess::Launch launch);

/// Runs the program to its end and returns everything that it wrote to its standard output; its standard error is
/// thrown away. Nothing when it cannot be started, and when it has not ended or not closed its output after `timeout`,
/// or has written more than `limit` bytes: it is then ended, together with everything that it started. The launch's
/// output, error and group are filled in here. Blocks the calling thread.
std::optional<QByteArray> capture(ChildProcess::Launch launch, Duration timeout, qsizetype limit);

/// How a program ended, and what it wrote to its standard output and standard error together.
struct ProgramOutcome {
    /// As `ChildProcess::status`.
    int status = 0;
    QByteArray output;
};

/// Runs the program, without input, to its end, however long that takes. Does not wait for what it leaves behind, which
/// may hold its output open for ever. The error is that of `ChildProcess::start`. The launch's streams are filled in
/// here. Blocks the calling thread.
tl::expected<ProgramOutcome, std::error_code> capture(ChildProcess::Launch launch);

} // namespace pelorin
