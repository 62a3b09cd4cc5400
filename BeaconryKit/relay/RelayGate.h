#pragma once

#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/relay/RelayConfig.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <optional>

namespace pelorin {

/// The copies of the relay's configuration that other threads read. One lock guards both, is held only while one is
/// copied, and nothing is called under it.
class RelayGate {
public:
    /// Takes the copies anew. Main thread.
    void refresh(const NotifierSettings& settings);

    /// The relay, as long as it was configured at the last refresh. Any thread.
    std::optional<RelayConfig> pollConfig() const;

    /// The relay, as long as it was configured and phones were allowed a shell at the last refresh. Any thread.
    std::optional<RelayConfig> termConfig() const;

private:
    struct Copies {
        std::optional<RelayConfig> poll;
        std::optional<RelayConfig> term;
    };
    Guarded<Copies> m_copies;
};

} // namespace pelorin
