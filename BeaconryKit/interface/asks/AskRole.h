#pragma once

#include <QByteArray>
#include <QHash>
#include <Qt>

namespace pelorin {

/// What a row of a list of asks offers; the role's name in QML is the enumerator's without "Role".
enum AskRole : int {
    askIdRole = Qt::UserRole + 1,
    sourceLabelRole,
    dotColorRole,
    projectNameRole,
    messageRole,
    /// The whole row in words, for those who hear it.
    summaryRole,
    /// What the session asks, as its terminal puts it, else the usual question; empty for a mere notice.
    questionRole,
    isPermissionRole,
    /// Whether Allow and Deny still reach somebody.
    takesDecisionRole,
    /// The sub-agent's kind; empty for the session itself.
    agentTypeRole,
    detailRole,
    /// The options' labels, in their order.
    optionLabelsRole,
    acceptsTextRole,
    countdownTextRole,
    countdownIsUrgentRole,
    countdownIsOverRole,
    expandedRole,
    draftRole,
    /// Whether the row has stood where it is for long enough to take clicks.
    armedRole
};

/// The roles' names in QML.
QHash<int, QByteArray> askRoleNames();

} // namespace pelorin
