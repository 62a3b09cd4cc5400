#pragma once

#include <QRect>
#include <QSize>

namespace pelorin {

/// What a window needs of the place that it opens at, in the desktop's coordinates.
struct WindowNeeds {
    /// The size that it would have where there is room.
    QSize wanted;
    QSize smallest;
    /// What of the screen windows may take.
    QRect available;
    /// What must stay uncovered, and would cover the window; empty for nothing.
    QRect taken;
};

/// Where the window opens, frame included: in the middle where nothing is in the way, else below what is taken, else
/// beside it, as large as wanted if that is possible, else as large as there is room. Where there is room nowhere, as
/// low as it gets.
QRect windowPlace(const WindowNeeds& needs);

} // namespace pelorin
