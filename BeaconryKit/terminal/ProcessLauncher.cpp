#include "BeaconryKit/terminal/ProcessLauncher.h"

#include "BeaconryKit/platform/ChildProcess.h"

#include <QLoggingCategory>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(log, "pelorin.terminal.launcher", QtWarningMsg)

} // namespace

void ProcessLauncher::start(const QString& path, const QStringList& arguments) {
    ChildProcess::Launch launch;
    launch.executable = path.toUtf8();
    for (const QString& argument : arguments)
        launch.arguments.append(argument.toUtf8());
    // A program that is not there is no error: there is nobody who could do anything about it.
    if (const auto child = ChildProcess::start(std::move(launch)); !child)
        qCDebug(log) << path << "could not be started:" << child.error().message().c_str();
}

} // namespace pelorin
