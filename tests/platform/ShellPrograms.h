#pragma once

#include "BeaconryKit/platform/Programs.h"

#include <string>

namespace pelorin {

constexpr qsizetype plentyOfOutput = 256 * 1024 * 1024;

/// A shell that runs the script.
inline ChildProcess::Launch shell(const QByteArray& script) {
    ChildProcess::Launch launch;
    launch.executable = "/bin/sh";
    launch.arguments = {"-c", script};
    return launch;
}

/// What the program prints, as text that test messages can show.
inline std::optional<std::string> outputOf(const ChildProcess::Launch& launch,
                                           Duration timeout = std::chrono::seconds(20),
                                           qsizetype limit = plentyOfOutput) {
    const auto output = capture(launch, timeout, limit);
    return output ? std::optional(output->toStdString()) : std::nullopt;
}

inline std::optional<std::string> outputOf(const QByteArray& script, Duration timeout = std::chrono::seconds(20),
                                           qsizetype limit = plentyOfOutput) {
    return outputOf(shell(script), timeout, limit);
}

} // namespace pelorin
