#include "tests/support/HookInstallation.h"

#include "tests/support/TestProcess.h"

#include <gtest/gtest.h>

namespace pelorin {

HookInstallation::HookInstallation() {
    const auto install = TestProcess::start({.command = {PELORIN_CMAKE, "--install", PELORIN_BUILD_DIR, "--component",
                                                         "hooks", "--prefix", m_prefix.path()},
                                             .environment = {"PATH=/usr/bin:/bin"}});
    EXPECT_TRUE(install);
    EXPECT_EQ(install->waitForExit(), exited(0)) << install->errors();
}

} // namespace pelorin
