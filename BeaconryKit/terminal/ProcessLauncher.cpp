#include "BeaconryKit/terminal/ProcessLauncher.h"

#include "BeaconryKit/platform/Programs.h"

#include <QLoggingCategory>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(log, "pelorin.terminal.launcher", QtWarningMsg)

} // namespace

void ProcessLauncher::start(const QString& path, const QStringList& arguments) {
    ChildProcess::Launch program;
    program.executable = path.toUtf8();
    for (const QString& argument : arguments)
        program.arguments.append(argument.toUtf8());
    // A program that is not there is no error: there is nobody who could do anything about it.
    if (const auto started = launch(std::move(program)); !started)
        qCDebug(log) << path << "could not be started:" << started.error().message().c_str();
}

} // namespace pelorin
