#include "BeaconryKit/interface/asks/AskRole.h"

namespace pelorin {

QHash<int, QByteArray> askRoleNames() {
    return {{askIdRole, "askId"},
            {sourceLabelRole, "sourceLabel"},
            {dotColorRole, "dotColor"},
            {projectNameRole, "projectName"},
            {messageRole, "message"},
            {questionRole, "question"},
            {isPermissionRole, "isPermission"},
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
