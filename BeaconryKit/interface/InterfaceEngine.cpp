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

InterfaceEngine::InterfaceEngine() = default;

InterfaceEngine::~InterfaceEngine() = default;

QQmlEngine& InterfaceEngine::qml() {
    if (m_qml)
        return *m_qml;
    static const bool isRegistered = [] {
        registerModule();
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
    Q_UNUSED(isRegistered)
    m_qml = std::make_unique<QQmlEngine>();
    m_qml->addImportPath(QStringLiteral("qrc:/"));
    return *m_qml;
}

} // namespace pelorin
