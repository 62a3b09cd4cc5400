#include "BeaconryKit/interface/panel/PanelFacade.h"

#include "BeaconryKit/interface/panel/NotchPanel.h"

namespace pelorin {

PanelFacade::PanelFacade(AskListModel& asks, QObject* parent) : QObject(parent), m_asks(asks) {
}

double PanelFacade::cornerRadius() const {
    return NotchPanel::cornerRadius;
}

void PanelFacade::setBounds(double topInset, double maximumHeight) {
    if (m_topInset == topInset && m_maximumHeight == maximumHeight)
        return;
    m_topInset = topInset;
    m_maximumHeight = maximumHeight;
    emit boundsChanged();
}

void PanelFacade::setTypingRow(const QString& id) {
    if (m_typingRow == id)
        return;
    m_typingRow = id;
    emit typingRowChanged();
}

void PanelFacade::allow(const QString& askId) {
    emit acted(askId, AskAction::allow());
}

void PanelFacade::deny(const QString& askId) {
    emit acted(askId, AskAction::deny());
}

void PanelFacade::open(const QString& askId) {
    emit acted(askId, AskAction::open());
}

void PanelFacade::dismiss(const QString& askId) {
    emit acted(askId, AskAction::dismiss());
}

void PanelFacade::setExpanded(const QString& askId, bool expanded) {
    m_asks.setFold(askId, expanded ? AskListModel::Fold::expanded : AskListModel::Fold::collapsed);
    if (expanded)
        emit acted(askId, AskAction::expand());
    else if (askId == m_typingRow)
        emit keysReturned();
}

void PanelFacade::pickOption(const QString& askId, int index) {
    emit acted(askId, AskAction::option(index));
}

void PanelFacade::sendText(const QString& askId, const QString& text) {
    if (text.trimmed().isEmpty())
        return;
    emit keysReturned();
    emit acted(askId, AskAction::text(text));
}

void PanelFacade::setDraft(const QString& askId, const QString& draft) {
    m_asks.setDraft(askId, draft);
}

void PanelFacade::takeKeys(const QString& askId) {
    emit keysWanted(askId);
}

void PanelFacade::giveKeysBack() {
    emit keysReturned();
}

void PanelFacade::noteRowPlace(const QString& askId, double place) {
    emit rowPlaced(askId, place);
}

} // namespace pelorin
