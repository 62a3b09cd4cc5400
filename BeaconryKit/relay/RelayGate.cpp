#include "BeaconryKit/relay/RelayGate.h"

namespace pelorin {

void RelayGate::refresh(const NotifierSettings& settings) {
    std::optional<RelayConfig> poll;
    if (settings.relayConfigured())
        poll = RelayConfig{settings.relayURL(), settings.relayToken()};
    const std::optional<RelayConfig> term = settings.phoneTerminalEnabled() ? poll : std::nullopt;
    m_copies.with([&](Copies& copies) { copies.poll = poll; });
    m_copies.with([&](Copies& copies) { copies.term = term; });
}

std::optional<RelayConfig> RelayGate::pollConfig() const {
    return m_copies.copy().poll;
}

std::optional<RelayConfig> RelayGate::termConfig() const {
    return m_copies.copy().term;
}

} // namespace pelorin
