#pragma once

namespace pelorin {

/// Lives in the status bar alone from now on: no Dock icon and no main menu, on systems that have such things. Needs
/// the application object.
void becomeAccessory();

} // namespace pelorin
