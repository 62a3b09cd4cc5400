#include "BeaconryKit/model/SessionInfo.h"

#include "BeaconryKit/model/PathText.h"

namespace pelorin {

DecodeResult<SessionInfo> SessionInfo::decode(QByteArrayView jsonData) {
    return HookPayload::parse(jsonData).map([](const HookPayload& payload) {
        SessionInfo session;
        session.sessionId = payload.string(QLatin1StringView("session_id"));
        session.cwd = payload.string(QLatin1StringView("cwd"));
        session.tty = payload.string(QLatin1StringView("tty"));
        session.termProgram = payload.string(QLatin1StringView("term_program"));
        session.label = payload.string(QLatin1StringView("label"));
        session.optIn = payload.boolean(QLatin1StringView("opt_in"));
        session.source = payload.string(QLatin1StringView("source"), QStringLiteral("claude"));
        session.tmuxPane = payload.string(QLatin1StringView("tmux_pane"));
        session.weztermPane = payload.string(QLatin1StringView("wezterm_pane"));
        session.kittyWindowId = payload.string(QLatin1StringView("kitty_window_id"));
        return session;
    });
}

QString SessionInfo::displayName() const {
    return label.isEmpty() ? projectName() : label;
}

QString SessionInfo::projectName() const {
    return cwd.isEmpty() ? unknownProjectName() : lastPathComponent(cwd);
}

std::optional<QString> SessionInfo::ttyDevicePath() const {
    return pelorin::ttyDevicePath(tty);
}

} // namespace pelorin
