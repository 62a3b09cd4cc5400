#include "BeaconryKit/platform/ProgrammingError.h"

#include <QtGlobal>

#include <cstdlib>

namespace pelorin {

void programmingError(const char* rule) {
    qFatal("Programming error: %s", rule);
    // A message handler may return from a fatal message.
    std::abort();
}

} // namespace pelorin
