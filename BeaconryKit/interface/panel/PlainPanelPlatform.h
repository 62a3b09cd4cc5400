#pragma once

#include "BeaconryKit/interface/panel/PanelPlatform.h"

namespace pelorin {

/// What the toolkit can do by itself, on windowing systems that need or allow no more.
class PlainPanelPlatform final : public PanelPlatform {
public:
    void prepare(QWindow& window) override;
    bool isCompositing() const override;
    void takeKeyboard(QWindow& window) override;
    void giveKeyboardBack(QWindow& window) override;
};

} // namespace pelorin
