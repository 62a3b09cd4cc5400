#include "BeaconryKit/platform/FileUserDefaults.h"

#include "BeaconryBase/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLockFile>
#include <QSaveFile>

#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace pelorin {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
constexpr auto ownerOnlyFolder = ownerOnly | QFile::ExeOwner;

// Far more than all settings take, in bytes.
constexpr qint64 sizeLimit = 4'194'304;

/// What the file holds. Nothing when it cannot be read, or is anything but an ordinary file of a bounded size: a pipe
/// or a terminal would be waited for, and some devices never end.
std::optional<QByteArray> readOrdinaryFile(const QString& path) {
    const FileDescriptor descriptor(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    QFile file;
    if (!descriptor.isOpen() || fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !file.open(descriptor.number(), QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.read(sizeLimit + 1);
    return bytes.size() > sizeLimit ? std::nullopt : std::optional(bytes);
}

bool makeFolder(const QString& path) {
    if (QFileInfo(path).isDir())
        return true;
    return QDir().mkpath(QFileInfo(path).path()) && QDir().mkdir(path, ownerOnlyFolder);
}

} // namespace

FileUserDefaults::FileUserDefaults(const QString& path) : m_path(path), m_values(read().values) {
}

std::optional<QJsonValue> FileUserDefaults::object(const QString& key) const {
    const auto found = m_values.constFind(key);
    return found == m_values.constEnd() ? std::nullopt : std::optional<QJsonValue>(*found);
}

void FileUserDefaults::setObject(const QString& key, const QJsonValue& value) {
    m_values.insert(key, value);
    m_unsaved.insert(key, value);
    if (write()) {
        m_unsaved = {};
    } else if (!std::exchange(m_warnedOfFailedWrite, true)) {
        qWarning("Pelorin cannot write its settings to %s; changes last until it quits.", qUtf8Printable(m_path));
    }
}

FileUserDefaults::Contents FileUserDefaults::read() const {
    if (!QFileInfo::exists(m_path))
        return {};
    const auto bytes = readOrdinaryFile(m_path);
    if (!bytes)
        return {{}, true};
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    return {document.object(), !document.isObject()};
}

bool FileUserDefaults::write() {
    if (!makeFolder(QFileInfo(m_path).path()))
        return false;
    QLockFile lock(m_path + QStringLiteral(".lock"));
    if (!lock.tryLock(std::chrono::milliseconds(500)))
        return false;
    Contents contents = read();
    if (contents.isUnreadable && !keepUnreadableFile())
        return false;
    const QJsonObject before = contents.values;
    for (auto change = m_unsaved.constBegin(); change != m_unsaved.constEnd(); ++change)
        contents.values.insert(change.key(), change.value());
    if (contents.values == before)
        return true;

    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(ownerOnly);
    file.write(QJsonDocument(contents.values).toJson(QJsonDocument::Indented));
    return file.commit();
}

bool FileUserDefaults::keepUnreadableFile() const {
    for (int number = 1; number < 1000; ++number) {
        const QString kept = QStringLiteral("%1.unreadable-%2").arg(m_path).arg(number);
        if (QFileInfo::exists(kept))
            continue;
        if (!QFile::rename(m_path, kept))
            return false;
        qWarning("Pelorin could not understand its settings file; it was kept as %s.", qUtf8Printable(kept));
        return true;
    }
    return false;
}

} // namespace pelorin
