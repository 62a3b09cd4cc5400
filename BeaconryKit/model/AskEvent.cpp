#include "BeaconryKit/model/AskEvent.h"

#include "BeaconryKit/model/AskClassifier.h"
#include "BeaconryKit/model/PathText.h"

#include <QJsonDocument>
#include <QTextBoundaryFinder>

namespace pelorin {

namespace {

constexpr int summaryLimit = 200;

/// The text up to `limit` user-perceived characters, with an ellipsis when something was cut off.
QString cutToCharacters(const QString& text, int limit) {
    if (text.size() <= limit)
        return text;
    // The boundary finder reads all that it is given, so it gets a window that grows only for characters of many code
    // units. A boundary counts only with a whole code point behind it in the window.
    for (qsizetype window = qsizetype{limit} * 8;; window *= 4) {
        const QStringView part = QStringView(text).left(window);
        const bool isWhole = part.size() == text.size();
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, part.data(), part.size());
        qsizetype end = 0;
        int characters = 0;
        while (characters < limit && end >= 0 && end < part.size()) {
            end = finder.toNextBoundary();
            ++characters;
        }
        if (end >= 0 && end < part.size() - (isWhole ? 0 : 1))
            return text.left(end) + u'…';
        if (isWhole)
            return text;
    }
}

QString jsonText(const QJsonObject& object) {
    if (object.isEmpty())
        return {};
    // The toolkit's objects keep their keys sorted.
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString fullSummary(const QString& toolName, const QJsonObject& toolInput) {
    struct Row {
        QLatin1StringView toolName;
        QLatin1StringView key;
    };
    static constexpr Row rows[] = {
        {QLatin1StringView("Bash"), QLatin1StringView("command")},
        {QLatin1StringView("Edit"), QLatin1StringView("file_path")},
        {QLatin1StringView("Write"), QLatin1StringView("file_path")},
        {QLatin1StringView("MultiEdit"), QLatin1StringView("file_path")},
        {QLatin1StringView("NotebookEdit"), QLatin1StringView("file_path")},
        {QLatin1StringView("WebFetch"), QLatin1StringView("url")},
        {QLatin1StringView("WebSearch"), QLatin1StringView("query")},
    };
    for (const Row& row : rows) {
        if (toolName == row.toolName)
            return toolInput.value(row.key).toString();
    }
    if (toolName == QLatin1StringView("ExitPlanMode"))
        return QStringLiteral("approve the proposed plan");
    return jsonText(toolInput);
}

} // namespace

DecodeResult<AskEvent> AskEvent::decode(QByteArrayView jsonData, WallTime receivedAt) {
    return HookPayload::parse(jsonData).map([receivedAt](const HookPayload& payload) {
        AskEvent ask;
        ask.sessionId = payload.string(QLatin1StringView("session_id"));
        ask.cwd = payload.string(QLatin1StringView("cwd"));
        ask.message = payload.string(QLatin1StringView("message"));
        ask.tty = payload.string(QLatin1StringView("tty"));
        ask.termProgram = payload.string(QLatin1StringView("term_program"));
        ask.receivedAt = receivedAt;
        ask.requestId = payload.string(QLatin1StringView("request_id"));
        ask.toolName = payload.string(QLatin1StringView("tool_name"));
        ask.actionSummary = summary(ask.toolName, payload.object(QLatin1StringView("tool_input")));
        ask.notificationType = payload.string(QLatin1StringView("notification_type"));
        ask.agentType = payload.string(QLatin1StringView("agent_type"));
        ask.source = payload.string(QLatin1StringView("source"), QStringLiteral("claude"));
        ask.tmuxPane = payload.string(QLatin1StringView("tmux_pane"));
        ask.weztermPane = payload.string(QLatin1StringView("wezterm_pane"));
        ask.kittyWindowId = payload.string(QLatin1StringView("kitty_window_id"));
        return ask;
    });
}

QString AskEvent::summary(const QString& toolName, const QJsonObject& toolInput) {
    return cutToCharacters(fullSummary(toolName, toolInput), summaryLimit);
}

bool AskEvent::isActionRequired() const {
    return isPermission() || AskClassifier::needsAction(notificationType, message);
}

QString AskEvent::displayMessage() const {
    if (!isPermission())
        return message;
    return actionSummary.isEmpty() ? toolName : toolName + QStringLiteral(": ") + actionSummary;
}

QString AskEvent::projectName() const {
    QStringView path = cwd;
    // A sub-agent works in a folder of its own below the project's ".claude".
    if (const qsizetype inside = path.indexOf(u"/.claude/"); inside >= 0)
        path.truncate(inside);
    return path.isEmpty() ? unknownProjectName() : lastPathComponent(path);
}

std::optional<QString> AskEvent::ttyDevicePath() const {
    return pelorin::ttyDevicePath(tty);
}

} // namespace pelorin
