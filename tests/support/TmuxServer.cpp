#include "tests/support/TmuxServer.h"

#include "BeaconryKit/platform/Programs.h"

namespace pelorin {

namespace {

const QString paneFormat = QStringLiteral("#{pane_id}");

} // namespace

TmuxServer::TmuxServer() {
    qputenv("TMUX_TMPDIR", m_folder.path().toUtf8());
    // The test itself may run inside somebody's tmux.
    qunsetenv("TMUX");
    qunsetenv("TMUX_PANE");
}

TmuxServer::~TmuxServer() {
    run({"kill-server"});
    qunsetenv("TMUX_TMPDIR");
}

QString TmuxServer::newSession(const QString& name, const QString& command) {
    return run({"-u", "-f", "/dev/null", "new-session", "-d", "-P", "-F", paneFormat, "-x", "100", "-y", "30", "-s",
                name, command});
}

QString TmuxServer::newWindow(const QString& session, const QString& command) {
    return run({"new-window", "-d", "-P", "-F", paneFormat, "-t", session, command});
}

QString TmuxServer::splitPane(const QString& pane, const QString& command) {
    return run({"split-window", "-d", "-P", "-F", paneFormat, "-t", pane, command});
}

QString TmuxServer::run(const QStringList& arguments) {
    ChildProcess::Launch launch;
    launch.executable = "/usr/bin/env";
    launch.arguments = {"tmux"};
    for (const QString& argument : arguments)
        launch.arguments.append(argument.toUtf8());
    const auto output = capture(launch, std::chrono::seconds(20), 1'000'000);
    return output ? QString::fromUtf8(*output).trimmed() : QString();
}

} // namespace pelorin
