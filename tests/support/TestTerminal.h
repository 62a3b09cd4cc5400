#pragma once

#include "tests/support/TestDescriptor.h"

#include <string>

namespace pelorin {

/// A terminal for a test's children, which lasts as long as this.
class TestTerminal {
public:
    TestTerminal();

    /// The side of whoever shows the terminal.
    int descriptor() const { return m_descriptor.get(); }

    /// The device, as "/dev/pts/3".
    const std::string& devicePath() const { return m_devicePath; }

    /// The device's name, as "pts/3".
    std::string name() const { return m_devicePath.substr(std::string("/dev/").size()); }

private:
    TestDescriptor m_descriptor;
    std::string m_devicePath;
};

} // namespace pelorin
