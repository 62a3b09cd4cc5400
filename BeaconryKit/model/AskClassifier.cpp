#include "BeaconryKit/model/AskClassifier.h"

#include <algorithm>
#include <array>

namespace pelorin {

namespace {

constexpr std::array<QStringView, 12> actionTypeList{
    u"permission_prompt", u"worker_permission_prompt", u"agent_needs_input", u"permission_request",
    u"permission",        u"tool_permission",          u"approval_request",  u"approval",
    u"elicitation",       u"waiting_for_input",        u"input_needed",      u"user_input",
};

constexpr std::array<QStringView, 21> askPhraseList{
    u"do you want to proceed",
    u"would you like to proceed",
    u"proceed?",
    u"wants to",
    u"needs your permission",
    u"requires your permission",
    u"grant permission",
    u"asking for permission",
    u"permission to",
    u"requires approval",
    u"needs approval",
    u"requires your approval",
    u"approve this",
    u"allow this",
    u"allow the",
    u"confirm",
    u"y/n",
    u"[y/n]",
    u"yes/no",
    u"trust this",
    u"do you trust",
};

constexpr std::array<QStringView, 3> undeclaredTypes{u"", u"notification", u"notice"};

} // namespace

std::span<const QStringView> AskClassifier::actionTypes() {
    return actionTypeList;
}

std::span<const QStringView> AskClassifier::askPhrases() {
    return askPhraseList;
}

bool AskClassifier::needsAction(const QString& notificationType, const QString& message) {
    const QString type = notificationType.toLower();
    if (std::ranges::find(actionTypeList, QStringView(type)) != actionTypeList.end())
        return true;
    if (std::ranges::find(undeclaredTypes, QStringView(type)) == undeclaredTypes.end())
        return false;
    const QString text = message.toLower();
    return std::ranges::any_of(askPhraseList, [&](QStringView phrase) { return text.contains(phrase); });
}

} // namespace pelorin
