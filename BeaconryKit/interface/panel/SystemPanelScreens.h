#pragma once

#include "BeaconryKit/interface/panel/PanelScreens.h"

class QScreen;

namespace pelorin {

/// The toolkit's screens. Main thread; needs the application object.
class SystemPanelScreens final : public PanelScreens {
    Q_OBJECT

public:
    SystemPanelScreens();

    QList<PanelScreen> screens() const override;

private:
    void watch(QScreen* screen);
};

/// How much of the screen's top edge a camera notch takes, in device-independent pixels.
int notchInset(const QScreen& screen);

} // namespace pelorin
