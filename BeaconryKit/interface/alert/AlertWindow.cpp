#include "BeaconryKit/interface/alert/AlertWindow.h"

#include "BeaconryKit/interface/theme/DesktopScheme.h"

#include <QQuickItem>

namespace pelorin {

AlertWindow::AlertWindow(QQmlEngine* engine, const QString& messageText, const QString& informativeText)
    : QQuickView(engine, nullptr), m_scheme(DesktopScheme::ofDesktop()) {
    setTitle(QStringLiteral("Pelorin"));
    setFlags(Qt::Dialog);
    setInitialProperties(
        {{QStringLiteral("messageText"), messageText}, {QStringLiteral("informativeText"), informativeText}});
    setSource(QUrl(QStringLiteral("qrc:/Pelorin/alert/AlertView.qml")));
    const QQuickItem* const root = rootObject();
    if (!root)
        qFatal("The alert's content is broken.");
    // As large as what it says.
    setMinimumSize(QSizeF(root->width(), root->height()).toSize());
    setMaximumSize(minimumSize());
    resize(minimumSize());
    // A signal that is made in QML is known by its name alone.
    connect(root, SIGNAL(closeWanted()), this, SLOT(close()));
    connect(m_scheme.get(), &DesktopScheme::changed, this, &AlertWindow::followScheme);
    followScheme();
}

AlertWindow::~AlertWindow() = default;

void AlertWindow::present() {
    show();
    raise();
    requestActivate();
}

void AlertWindow::followScheme() {
    const auto scheme = m_scheme->scheme();
    rootObject()->setProperty("desktopSaysDark", scheme == DesktopScheme::Scheme::dark);
    rootObject()->setProperty("desktopSaysLight", scheme == DesktopScheme::Scheme::light);
}

bool AlertWindow::event(QEvent* event) {
    const bool isTaken = QQuickView::event(event);
    if (event->type() == QEvent::Close)
        emit dismissed();
    return isTaken;
}

} // namespace pelorin
