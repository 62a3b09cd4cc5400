#include "BeaconryKit/interface/panel/PanelFacade.h"

#include "BeaconryKit/interface/panel/NotchPanel.h"

namespace pelorin {

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

void PanelFacade::setExpanded(const QString& askId, bool expanded) {
    AskActions::setExpanded(askId, expanded);
    if (!expanded && askId == m_typingRow)
        emit keyboardReturned();
}

void PanelFacade::sendText(const QString& askId, const QString& text) {
    if (text.trimmed().isEmpty())
        return;
    emit keyboardReturned();
    AskActions::sendText(askId, text);
}

void PanelFacade::takeKeyboard(const QString& askId) {
    emit keyboardWanted(askId);
}

void PanelFacade::giveKeyboardBack() {
    emit keyboardReturned();
}

} // namespace pelorin
