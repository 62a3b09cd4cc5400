#pragma once

#include "tests/support/TemporaryDirectory.h"

namespace pelorin {

/// The hooks with their scripts and programs, installed in a folder of a test's own, in the layout of a package.
class HookInstallation {
public:
    HookInstallation();

    const std::filesystem::path& prefix() const { return m_prefix.path(); }
    /// Where the scripts are that a user runs.
    std::filesystem::path scripts() const { return prefix() / "share/pelorin"; }
    std::filesystem::path hooks() const { return scripts() / "hooks"; }
    /// Where the programs are that the scripts run.
    std::filesystem::path programs() const { return prefix() / "lib/pelorin"; }

private:
    TemporaryDirectory m_prefix;
};

} // namespace pelorin
