#include "BeaconryKit/interface/asks/AskActions.h"

namespace pelorin {

AskActions::AskActions(AskListModel& asks, QObject* parent) : QObject(parent), m_asks(asks) {
}

void AskActions::allow(const QString& askId) {
    emit acted(askId, AskAction::allow());
}

void AskActions::deny(const QString& askId) {
    emit acted(askId, AskAction::deny());
}

void AskActions::open(const QString& askId) {
    emit acted(askId, AskAction::open());
}

void AskActions::dismiss(const QString& askId) {
    emit acted(askId, AskAction::dismiss());
}

void AskActions::setExpanded(const QString& askId, bool expanded) {
    m_asks.setFold(askId, expanded ? AskListModel::Fold::expanded : AskListModel::Fold::collapsed);
    if (expanded)
        emit acted(askId, AskAction::expand());
}

void AskActions::pickOption(const QString& askId, int index) {
    emit acted(askId, AskAction::option(index));
}

void AskActions::sendText(const QString& askId, const QString& text) {
    if (!text.trimmed().isEmpty())
        emit acted(askId, AskAction::text(text));
}

void AskActions::setDraft(const QString& askId, const QString& draft) {
    m_asks.setDraft(askId, draft);
}

void AskActions::noteRowPlace(const QString& askId, double place) {
    emit rowPlaced(askId, place);
}

} // namespace pelorin
