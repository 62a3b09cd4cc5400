#pragma once

#include "BeaconryKit/model/HookPayload.h"
#include "BeaconryKit/model/PromptOption.h"
#include "BeaconryKit/platform/Dispatch.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace pelorin {

/// One moment at which a session needs, or informs, its user: a permission request that a hook waits on, a question
/// read off a terminal, or a plain notice. A value; text fields are empty when nothing is known.
struct AskEvent {
    /// The CLI's session identifier.
    QString sessionId;
    /// The session's working directory.
    QString cwd;
    /// The notification's text.
    QString message;
    /// The terminal device's name without "/dev/", or "??" when the hook had none.
    QString tty;
    /// The terminal program's name as the hook reports it.
    QString termProgram;
    /// When the request arrived.
    WallTime receivedAt{};
    /// Names a permission request that a hook is blocked on; empty for everything else.
    QString requestId;
    /// The tool that the CLI asks to run.
    QString toolName;
    /// One line about the tool call, at most 200 characters and an ellipsis.
    QString actionSummary;
    /// The CLI's kind of notification, for example "permission_prompt".
    QString notificationType;
    /// Not empty when the event comes from a sub-agent.
    QString agentType;
    /// Which CLI sent it: "claude", "codex", "gemini", "opencode", "cursor", or another.
    QString source = QStringLiteral("claude");
    /// What the terminal shows; filled in when the user unfolds the row.
    QString detail;
    /// The numbered options of the terminal's prompt; filled in with `detail`.
    QList<PromptOption> options;
    /// Whether the terminal's prompt takes free text; filled in with `detail`.
    bool acceptsText = false;
    /// The session's tmux pane, for example "%3".
    QString tmuxPane;
    /// The session's wezterm pane.
    QString weztermPane;
    /// The session's kitty window.
    QString kittyWindowId;

    bool operator==(const AskEvent&) const = default;

    /// Decodes a hook body. Fails only for an unreadable body, for no or an empty object, and for a missing or
    /// non-string "session_id". `receivedAt` is the moment of arrival.
    static DecodeResult<AskEvent> decode(QByteArrayView jsonData, WallTime receivedAt);

    /// One line that says what a tool call will do, cut to 200 user-perceived characters.
    static QString summary(const QString& toolName, const QJsonObject& toolInput);

    /// The row's identity: the request id of a permission request, else the session id.
    const QString& id() const { return requestId.isEmpty() ? sessionId : requestId; }
    /// Whether a hook waits for the answer.
    bool isPermission() const { return !requestId.isEmpty(); }
    /// Whether the user must act, as far as the record itself tells.
    bool isActionRequired() const;
    /// Whether the event comes from a sub-agent.
    bool isFromSubagent() const { return !agentType.isEmpty(); }
    /// What the row says.
    QString displayMessage() const;
    /// The project's name: the last component of the working directory, a ".claude" folder and what is below it aside.
    QString projectName() const;
    /// The terminal's device path, if there is one.
    std::optional<QString> ttyDevicePath() const;
};

} // namespace pelorin
