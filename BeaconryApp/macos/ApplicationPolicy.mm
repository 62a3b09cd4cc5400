#include "BeaconryApp/ApplicationPolicy.h"

#import <AppKit/AppKit.h>

namespace pelorin {

void becomeAccessory() {
    [[NSApplication sharedApplication] setActivationPolicy:NSApplicationActivationPolicyAccessory];
}

} // namespace pelorin
