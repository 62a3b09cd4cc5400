#pragma once

#include "BeaconryKit/interface/wayland/WaylandCompositor.h"

#include <QByteArrayList>

#include <optional>

namespace pelorin {

/// The toolkit's names of the windowing systems to try, the best first. Wayland comes first where the panel can hang
/// over everything there. Else X11 does, where the panel always can; the compositor's own X server counts too. The last
/// one needs no display, so that the program always starts.
QByteArrayList windowingSystems(bool offersX11, const std::optional<WaylandOffer>& wayland);

/// Chooses by the environment, and prepares the environment for the toolkit. To be called before the application object
/// is made, and before there are other threads. A choice that the user has made in the environment is kept.
void chooseWindowingSystem();

/// Takes back what the choice has put into the environment. To be called at the process's end.
void forgetChosenWindowingSystem();

/// What the compositor that the environment names has to offer; nothing when there is none. Waits for it, but not for
/// ever.
std::optional<WaylandOffer> askForCompositor();

} // namespace pelorin
