#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <sys/types.h>

namespace pelorin {

/// The children of this process that have ended and that nobody has waited for.
QList<pid_t> zombies();

/// The running children of this process, or of another, zombies left out.
QList<pid_t> runningChildren();
QList<pid_t> runningChildren(pid_t parent);

/// Whether the process runs; one that has only ended and not been waited for does not.
bool isRunningProcess(pid_t process);

/// The states of this process's children, of theirs and so on, a letter each as `ps` shows them, zombies left out: "S"
/// sleeps, "R" runs.
QByteArray descendantStates();

/// What this process has open: each descriptor's number and what it leads to.
QStringList openDescriptors();

/// Waits until nothing is open that was not open before. Whether that came about.
bool onlyLeavesOpen(const QStringList& before);

/// How many threads this process has.
qsizetype threadCount();

/// The resident memory of this process, in bytes.
qint64 residentMemory();

/// Whether memory that is given back is seen to be given back: the sanitizers keep it for themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memoryIsMeasurable = false;
#else
constexpr bool memoryIsMeasurable = true;
#endif

} // namespace pelorin
