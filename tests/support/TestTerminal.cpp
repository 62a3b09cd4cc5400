#include "tests/support/TestTerminal.h"

#include <cstdlib>
#include <fcntl.h>

namespace pelorin {

TestTerminal::TestTerminal() : m_descriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (grantpt(m_descriptor.get()) != 0 || unlockpt(m_descriptor.get()) != 0)
        std::abort();
    m_devicePath = ptsname(m_descriptor.get());
}

} // namespace pelorin
