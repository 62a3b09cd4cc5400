#include "BeaconryKit/interface/InterfaceEngine.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QtPlugin>

// The build generates it. A static library registers its types only when something refers to this function.
extern void qml_register_types_Pelorin();

static void registerModule() {
    Q_INIT_RESOURCE(qmlcache_Beaconry_interface);
    qml_register_types_Pelorin();
}

namespace pelorin {

std::shared_ptr<QQmlEngine> makeInterfaceEngine() {
    static const bool isRegistered = [] {
        registerModule();
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
    Q_UNUSED(isRegistered)
    auto engine = std::make_shared<QQmlEngine>();
    engine->addImportPath(QStringLiteral("qrc:/"));
    return engine;
}

} // namespace pelorin
