#include "BeaconryKit/service/SessionActions.h"

#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

namespace pelorin {

void SessionActions::setMuted(bool muted, const QString& sessionId) {
    const bool wasMuted = m_registry.isMuted(sessionId);
    m_registry.setMuted(muted, sessionId);
    if (muted && !wasMuted)
        m_store.clear(sessionId);
}

void SessionActions::setTrackOnlyOptIn(bool trackOnlyOptIn) {
    m_settings.setTrackOnlyOptIn(trackOnlyOptIn);
    m_registry.setTrackOnlyOptIn(trackOnlyOptIn);
}

} // namespace pelorin
