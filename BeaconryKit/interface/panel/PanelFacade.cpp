#include "BeaconryKit/interface/panel/PanelFacade.h"

#include "BeaconryKit/interface/panel/NotchPanel.h"

#include <utility>

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

void PanelFacade::setAllowsEverything(bool allowsEverything) {
    if (std::exchange(m_allowsEverything, allowsEverything) != allowsEverything)
        emit headChanged();
}

void PanelFacade::setAnnouncement(const QString& line) {
    if (std::exchange(m_announcement, line) != line)
        emit headChanged();
}

void PanelFacade::setAlert(const QString& text) {
    if (std::exchange(m_alert, text) != text)
        emit alertChanged();
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
