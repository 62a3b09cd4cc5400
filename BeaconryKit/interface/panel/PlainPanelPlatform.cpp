#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"

#include <QWindow>

namespace pelorin {

void PlainPanelPlatform::prepare(QWindow&) {
}

bool PlainPanelPlatform::isCompositing() const {
    return true;
}

void PlainPanelPlatform::takeKeyboard(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, false);
    window.requestActivate();
}

void PlainPanelPlatform::giveKeyboardBack(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, true);
}

} // namespace pelorin
