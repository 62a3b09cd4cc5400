#include "tests/support/Processes.h"

#include "tests/support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>
#include <unistd.h>

namespace pelorin {

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The fields after the program's name: state, parent and so on; none when there is no such process.
QList<QByteArray> statFields(const QString& process) {
    const QByteArray line = contents("/proc/" + process + "/stat");
    return line.isEmpty() ? QList<QByteArray>() : line.sliced(line.lastIndexOf(')') + 2).split(' ');
}

QList<pid_t> children(pid_t parent, bool ended) {
    QList<pid_t> found;
    for (const QString& process : QDir("/proc").entryList(QDir::Dirs)) {
        if (!process.front().isDigit())
            continue;
        const QList<QByteArray> fields = statFields(process);
        if (fields.size() > 1 && fields[1].toInt() == parent && (fields[0] == "Z") == ended)
            found.append(process.toInt());
    }
    return found;
}

} // namespace

QList<pid_t> zombies() {
    return children(getpid(), true);
}

QList<pid_t> runningChildren() {
    return runningChildren(getpid());
}

QList<pid_t> runningChildren(pid_t parent) {
    return children(parent, false);
}

bool isRunningProcess(pid_t process) {
    const QList<QByteArray> fields = statFields(QString::number(process));
    return !fields.isEmpty() && fields[0] != "Z" && fields[0] != "X";
}

QByteArray descendantStates() {
    QHash<int, QList<QByteArray>> all;
    for (const QString& process : QDir("/proc").entryList(QDir::Dirs)) {
        if (const QList<QByteArray> fields = process.front().isDigit() ? statFields(process) : QList<QByteArray>();
            fields.size() > 1 && fields[0] != "Z")
            all.insert(process.toInt(), fields);
    }
    QByteArray states;
    for (const QList<QByteArray>& fields : std::as_const(all)) {
        int ancestor = fields[1].toInt();
        while (ancestor != getpid() && all.contains(ancestor))
            ancestor = all.value(ancestor)[1].toInt();
        if (ancestor == getpid())
            states += fields[0];
    }
    return states;
}

QStringList openDescriptors() {
    QStringList descriptors;
    for (const QString& number : QDir("/proc/self/fd").entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)) {
        const QString target = QFile::symLinkTarget("/proc/self/fd/" + number);
        // The folder itself was open while it was read.
        if (!target.endsWith("/fd"))
            descriptors.append(number + " " + target);
    }
    descriptors.sort();
    return descriptors;
}

bool onlyLeavesOpen(const QStringList& before) {
    return eventually([&] {
        const QStringList now = openDescriptors();
        return std::ranges::all_of(now, [&](const QString& descriptor) { return before.contains(descriptor); });
    });
}

qsizetype threadCount() {
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

qint64 residentMemory() {
    return contents("/proc/self/statm").split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

} // namespace pelorin
