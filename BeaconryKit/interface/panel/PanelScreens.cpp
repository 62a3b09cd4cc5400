#include "BeaconryKit/interface/panel/PanelScreens.h"

#include <QSizeF>

#include <algorithm>

namespace pelorin {

std::optional<PanelScreen> targetScreen(const QList<PanelScreen>& screens) {
    if (screens.isEmpty())
        return std::nullopt;
    const auto notched = std::ranges::find_if(screens, [](const PanelScreen& screen) { return screen.topInset > 0; });
    if (notched != screens.end())
        return *notched;
    const auto main = std::ranges::find_if(screens, &PanelScreen::isMain);
    return main != screens.end() ? *main : screens.first();
}

QRect panelFrame(const PanelScreen& screen, const QSizeF& fitting) {
    const int width = std::min(std::max(qCeil(fitting.width()), minimumPanelWidth), screen.frame.width());
    const int height = std::min(qCeil(fitting.height()), screen.frame.height());
    return {screen.frame.x() + (screen.frame.width() - width) / 2, screen.frame.y(), width, height};
}

} // namespace pelorin
