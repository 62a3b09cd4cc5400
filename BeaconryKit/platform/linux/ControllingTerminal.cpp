#include "BeaconryKit/platform/linux/ControllingTerminal.h"

#include "BeaconryBase/ProcessFacts.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace pelorin {

std::optional<pid_t> terminalSessionLeader(const QString& devicePath) {
    struct stat device {};
    if (stat(QFile::encodeName(devicePath).constData(), &device) != 0 || !S_ISCHR(device.st_mode))
        return std::nullopt;
    for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs, QDir::Unsorted)) {
        const pid_t process = name.toInt();
        const auto facts = process > 0 ? lookUpProcess(process) : std::nullopt;
        if (facts && facts->session == process && facts->terminalDevice == device.st_rdev)
            return process;
    }
    return std::nullopt;
}

pid_t parentProcess(pid_t process) {
    const auto facts = lookUpProcess(process);
    return facts ? facts->parent : 0;
}

std::optional<QByteArray> initialVariable(pid_t process, const QByteArray& name) {
    QFile file(QStringLiteral("/proc/%1/environ").arg(process));
    if (!file.open(QFile::ReadOnly))
        return std::nullopt;
    for (const QByteArray& variable : file.readAll().split('\0')) {
        if (variable.startsWith(name + '='))
            return variable.sliced(name.size() + 1);
    }
    return std::nullopt;
}

} // namespace pelorin
