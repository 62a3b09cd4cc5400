#pragma once

#include <QString>

#include <optional>

namespace pelorin {

/// The directory of what is shipped with the application: its bundle's resources on macOS, and what is installed beside
/// the program on a free desktop. Nothing when there is none, as for a program that runs where it was built. To be
/// called while the application object lives.
std::optional<QString> resourceDirectory();

} // namespace pelorin
