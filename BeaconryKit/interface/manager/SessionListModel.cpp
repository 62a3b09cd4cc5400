#include "BeaconryKit/interface/manager/SessionListModel.h"

#include "BeaconryKit/interface/asks/DisplayText.h"
#include "BeaconryKit/interface/asks/DotColour.h"
#include "BeaconryKit/interface/asks/SourceStyle.h"

#include <algorithm>

namespace pelorin {

namespace {

constexpr qsizetype nameLimit = 200;

QString displayName(const QString& name) {
    return displayText(name, nameLimit, LineBreaks::join);
}

int choiceOf(const std::optional<AutoDecision>& policy) {
    if (!policy)
        return 0;
    return static_cast<int>(std::ranges::find(allAutoDecisions, *policy) - allAutoDecisions.begin()) + 1;
}

} // namespace

SessionListModel::SessionListModel(QObject* parent)
    : RecordListModel({"sessionId", "name", "tty", "sourceLabel", "dotColor", "isOptedIn", "isMuted", "policyChoice"},
                      parent) {
}

void SessionListModel::follow(const SessionRegistry& registry) {
    QList<Record> records;
    records.reserve(registry.sessions().size());
    for (const SessionInfo& session : registry.sessions()) {
        const QString tty = session.tty.isEmpty() ? QStringLiteral("no tty") : displayName(session.tty);
        records.append({session.sessionId,
                        {session.sessionId, displayName(session.displayName()), tty,
                         displayName(SourceStyle::label(session.source)), dotColour(session.sessionId), session.optIn,
                         registry.isMuted(session.sessionId), choiceOf(registry.policy(session.sessionId))}});
    }
    sync(records);
}

QStringList SessionListModel::policyNames() {
    QStringList names{QStringLiteral("Default")};
    for (const AutoDecision policy : allAutoDecisions)
        names.append(pelorin::displayName(policy));
    return names;
}

int SessionListModel::autoAllowChoice() {
    return choiceOf(AutoDecision::allow);
}

std::optional<AutoDecision> SessionListModel::policyAt(int choice) {
    if (choice < 1 || choice > std::ssize(allAutoDecisions))
        return std::nullopt;
    return allAutoDecisions[static_cast<std::size_t>(choice) - 1];
}

} // namespace pelorin
