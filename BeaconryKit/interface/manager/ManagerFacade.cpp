#include "BeaconryKit/interface/manager/ManagerFacade.h"

#include <utility>

namespace pelorin {

ManagerFacade::ManagerFacade(const Parts& parts, QObject* parent) : QObject(parent), m_parts(parts) {
    const AskListModel* const asks = m_parts.pending.asks();
    connect(asks, &QAbstractItemModel::rowsInserted, this, &ManagerFacade::pendingCountChanged);
    connect(asks, &QAbstractItemModel::rowsRemoved, this, &ManagerFacade::pendingCountChanged);
}

void ManagerFacade::setAnnouncement(const QString& line) {
    if (std::exchange(m_announcement, line) != line)
        emit announcementChanged();
}

void ManagerFacade::setShown(bool isShown) {
    if (std::exchange(m_isShown, isShown) != isShown)
        emit isShownChanged();
}

void ManagerFacade::setDesktopScheme(DesktopScheme scheme) {
    if (std::exchange(m_desktopScheme, scheme) != scheme)
        emit desktopSchemeChanged();
}

void ManagerFacade::setShowsMnemonics(bool shows) {
    if (std::exchange(m_showsMnemonics, shows) != shows)
        emit showsMnemonicsChanged();
}

void ManagerFacade::setTab(int tab) {
    if (std::exchange(m_tab, tab) != tab)
        emit tabChanged();
}

void ManagerFacade::setMuted(const QString& sessionId, bool muted) {
    m_parts.actions.setMuted(muted, sessionId);
}

void ManagerFacade::setPolicy(const QString& sessionId, int choice) {
    m_parts.registry.setPolicy(SessionListModel::policyAt(choice), sessionId);
}

void ManagerFacade::jump(const QString& sessionId) {
    emit jumpWanted(sessionId);
}

void ManagerFacade::close() {
    emit closeWanted();
}

} // namespace pelorin
