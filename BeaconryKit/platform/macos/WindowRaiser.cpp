#include "BeaconryKit/platform/WindowRaiser.h"

namespace pelorin {

namespace {

/// Here terminals are brought to the front by AppleScript.
class NoWindowRaiser final : public WindowRaiser {
public:
    bool raise(const QString&) override { return false; }
};

} // namespace

std::unique_ptr<WindowRaiser> makeWindowRaiser() {
    return std::make_unique<NoWindowRaiser>();
}

} // namespace pelorin
