#include "BeaconryKit/platform/ComputerName.h"

#import <Foundation/Foundation.h>

namespace pelorin {

std::optional<QString> computerName() {
    NSString* name = [[NSHost currentHost] localizedName];
    return [name length] == 0 ? std::nullopt : std::optional(QString::fromNSString(name));
}

} // namespace pelorin
