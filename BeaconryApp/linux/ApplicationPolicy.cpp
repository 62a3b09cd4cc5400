#include "BeaconryApp/ApplicationPolicy.h"

namespace pelorin {

void becomeAccessory() {
    // A free desktop knows windows only.
}

} // namespace pelorin
