#include "BeaconryKit/platform/ComputerName.h"

#include "BeaconryKit/platform/linux/MachineInfo.h"

#include <QFile>
#include <QSysInfo>

namespace pelorin {

namespace {

/// A value as it stands behind the equals sign, without its quotes and escapes.
QByteArray unquoted(QByteArrayView value) {
    QByteArray text;
    char quote = 0;
    for (qsizetype index = 0; index < value.size(); ++index) {
        const char character = value[index];
        if (character == quote) {
            quote = 0;
        } else if (quote == 0 && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == '\\' && quote != '\'' && index + 1 < value.size()) {
            text.append(value[++index]);
        } else {
            text.append(character);
        }
    }
    return text;
}

} // namespace

std::optional<QString> prettyHostname(QByteArrayView machineInfo) {
    constexpr QByteArrayView key = "PRETTY_HOSTNAME=";
    std::optional<QString> name;
    for (const QByteArray& line : machineInfo.toByteArray().split('\n')) {
        const QByteArray assignment = line.trimmed();
        if (assignment.startsWith(key))
            name = QString::fromUtf8(unquoted(QByteArrayView(assignment).sliced(key.size())));
    }
    return name && name->isEmpty() ? std::nullopt : name;
}

std::optional<QString> computerName() {
    QFile machineInfo(QStringLiteral("/etc/machine-info"));
    // The file is short where it exists at all.
    constexpr qint64 longest = 65'536;
    if (machineInfo.open(QFile::ReadOnly)) {
        if (auto name = prettyHostname(machineInfo.read(longest)))
            return name;
    }
    const QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? std::nullopt : std::optional(name);
}

} // namespace pelorin
