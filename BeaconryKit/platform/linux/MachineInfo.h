#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorin {

/// The value of PRETTY_HOSTNAME in the contents of `/etc/machine-info`, which are assignments in the manner of a shell:
/// one a line, the value bare or in single or double quotes. Nothing when it is missing or empty.
std::optional<QString> prettyHostname(QByteArrayView machineInfo);

} // namespace pelorin
