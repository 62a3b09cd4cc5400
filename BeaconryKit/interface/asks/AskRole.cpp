#include "BeaconryKit/interface/asks/AskRole.h"

namespace pelorin {

QHash<int, QByteArray> askRoleNames() {
    return {{askIdRole, "askId"},
            {sourceLabelRole, "sourceLabel"},
            {dotColorRole, "dotColor"},
            {projectNameRole, "projectName"},
            {messageRole, "message"},
            {summaryRole, "summary"},
            {questionRole, "question"},
            {isPermissionRole, "isPermission"},
            {takesDecisionRole, "takesDecision"},
            {agentTypeRole, "agentType"},
            {detailRole, "detail"},
            {optionLabelsRole, "optionLabels"},
            {acceptsTextRole, "acceptsText"},
            {countdownTextRole, "countdownText"},
            {countdownIsUrgentRole, "countdownIsUrgent"},
            {countdownIsOverRole, "countdownIsOver"},
            {expandedRole, "expanded"},
            {draftRole, "draft"},
            {armedRole, "armed"}};
}

} // namespace pelorin
