#include "BeaconryKit/interface/panel/SystemPanelScreens.h"

#include <QGuiApplication>
#include <QScreen>

namespace pelorin {

SystemPanelScreens::SystemPanelScreens() {
    for (QScreen* screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(screen);
        emit changed();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &PanelScreens::changed);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &PanelScreens::changed);
}

void SystemPanelScreens::watch(QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &PanelScreens::changed);
}

QList<PanelScreen> SystemPanelScreens::screens() const {
    QList<PanelScreen> screens;
    for (QScreen* screen : QGuiApplication::screens()) {
        // A screen without a size stands in for none at all while the last one is unplugged.
        if (!screen->geometry().isEmpty())
            screens.append(
                {screen->geometry(), notchInset(*screen), screen == QGuiApplication::primaryScreen(), screen});
    }
    return screens;
}

} // namespace pelorin
