#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace pelorin {

/// What a project is called when its folder is not known.
QString unknownProjectName();

/// The last component of a path, trailing slashes aside; "/" for the root and empty for an empty path.
QString lastPathComponent(QStringView path);

/// "/dev/" and the terminal's name; nothing when the name is empty or "??", which is how `ps` says that there is none.
std::optional<QString> ttyDevicePath(const QString& tty);

} // namespace pelorin
