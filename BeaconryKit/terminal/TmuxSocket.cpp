#include "BeaconryKit/terminal/TmuxSocket.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace pelorin {

namespace {

/// Where a plain `tmux` finds its server: that of the terminal which we run in, else the user's "default".
QString defaultSocketPath() {
    QString own = qEnvironmentVariable("TMUX").section(u',', 0, 0);
    if (!own.isEmpty())
        return own;
    const QString folder = qEnvironmentVariable("TMUX_TMPDIR");
    return (folder.isEmpty() ? QStringLiteral("/tmp") : folder) + QStringLiteral("/tmux-") + QString::number(getuid()) +
           QStringLiteral("/default");
}

bool isSameFile(const QString& left, const QString& right) {
    const QString leftPath = QFileInfo(left).canonicalFilePath();
    return left == right || (!leftPath.isEmpty() && leftPath == QFileInfo(right).canonicalFilePath());
}

} // namespace

TmuxSocket::TmuxSocket(QString socketPath)
    : m_socketPath(std::move(socketPath)),
      m_isDefault(m_socketPath.isEmpty() || isSameFile(m_socketPath, defaultSocketPath())) {
}

bool TmuxSocket::isOurs() const {
    if (m_isDefault)
        return true;
    struct stat facts {};
    return m_socketPath.startsWith(u'/') && stat(QFile::encodeName(m_socketPath).constData(), &facts) == 0 &&
           S_ISSOCK(facts.st_mode) && facts.st_uid == geteuid();
}

QStringList TmuxSocket::arguments(const QStringList& command) const {
    return m_isDefault ? command : QStringList{QStringLiteral("-S"), m_socketPath} + command;
}

} // namespace pelorin
