#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/platform/Dispatch.h"

#include <QString>

namespace pelorin {

/// A permission request that a hook waits on, of a session of its own.
inline AskEvent permissionAsk(const QString& requestId, WallTime receivedAt = {}) {
    AskEvent ask;
    ask.requestId = requestId;
    ask.sessionId = QStringLiteral("session of ") + requestId;
    ask.cwd = QStringLiteral("/home/ada/projects/lighthouse");
    ask.toolName = QStringLiteral("Bash");
    ask.actionSummary = QStringLiteral("cmake --build build --target ") + requestId;
    ask.receivedAt = receivedAt;
    return ask;
}

/// A plain notice of the session.
inline AskEvent noticeAsk(const QString& sessionId, WallTime receivedAt = {}) {
    AskEvent ask;
    ask.sessionId = sessionId;
    ask.cwd = QStringLiteral("/home/ada/projects/soundings");
    ask.message = QStringLiteral("Claude is waiting for your input");
    ask.notificationType = QStringLiteral("idle_prompt");
    ask.receivedAt = receivedAt;
    return ask;
}

/// The ask as it stands once its terminal was read: with lines, numbered options and a line for a reply.
inline AskEvent withAnswers(AskEvent ask, const QStringList& labels) {
    ask.detail = QStringLiteral("Do you want to proceed?");
    ask.options.clear();
    for (const QString& label : labels)
        ask.options.append({QString::number(ask.options.size() + 1), label});
    ask.acceptsText = true;
    return ask;
}

} // namespace pelorin
