#include "BeaconryKit/platform/linux/ControllingTerminal.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace pelorin {

namespace {

/// What the kernel tells of a process.
struct ProcessStat {
    pid_t parent = 0;
    pid_t session = 0;
    dev_t terminal = 0;
};

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

QString folderOf(pid_t process) {
    return QStringLiteral("/proc/%1/").arg(process);
}

/// The device as the kernel writes it: twelve bits of the major number stand within the minor one's.
dev_t deviceOf(unsigned int number) {
    return makedev((number >> 8) & 0xfff, (number & 0xff) | ((number >> 12) & 0xfff00));
}

std::optional<ProcessStat> statOf(pid_t process) {
    const QByteArray line = contents(folderOf(process) + QStringLiteral("stat"));
    // The program's name may hold anything, parentheses and blanks too; behind it come state, parent, group, session
    // and terminal.
    const qsizetype nameEnd = line.lastIndexOf(')');
    const QList<QByteArray> fields = line.mid(nameEnd + 2).split(' ');
    if (nameEnd < 0 || fields.size() < 5)
        return std::nullopt;
    return ProcessStat{fields[1].toInt(), fields[3].toInt(), deviceOf(static_cast<unsigned int>(fields[4].toInt()))};
}

} // namespace

std::optional<pid_t> terminalSessionLeader(const QString& devicePath) {
    struct stat device {};
    if (stat(QFile::encodeName(devicePath).constData(), &device) != 0 || !S_ISCHR(device.st_mode))
        return std::nullopt;
    for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs, QDir::Unsorted)) {
        const pid_t process = name.toInt();
        const auto status = process > 0 ? statOf(process) : std::nullopt;
        if (status && status->session == process && status->terminal == device.st_rdev)
            return process;
    }
    return std::nullopt;
}

pid_t parentProcess(pid_t process) {
    const auto status = statOf(process);
    return status ? status->parent : 0;
}

std::optional<QByteArray> initialVariable(pid_t process, const QByteArray& name) {
    for (const QByteArray& variable : contents(folderOf(process) + QStringLiteral("environ")).split('\0')) {
        if (variable.startsWith(name + '='))
            return variable.sliced(name.size() + 1);
    }
    return std::nullopt;
}

} // namespace pelorin
