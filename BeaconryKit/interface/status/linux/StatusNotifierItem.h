#pragma once

#include "BeaconryKit/interface/status/StatusItem.h"
#include "BeaconryKit/interface/status/linux/DBusMenu.h"
#include "BeaconryKit/interface/status/linux/StatusPixmaps.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>

namespace pelorin {

/// The status item as desktops of today show it: an object on the session's bus that announces itself to their watcher,
/// again whenever a watcher starts, and whose menu they read and draw. Without a bus it does nothing. Lives on the main
/// thread.
class StatusNotifierItem final : public QObject, public StatusItem {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT FINAL)
    Q_PROPERTY(QString Id READ id CONSTANT FINAL)
    Q_PROPERTY(QString Title READ title FINAL)
    Q_PROPERTY(QString Status READ status CONSTANT FINAL)
    Q_PROPERTY(int WindowId READ windowId CONSTANT FINAL)
    Q_PROPERTY(QString IconThemePath READ noText CONSTANT FINAL)
    Q_PROPERTY(QString IconName READ noText CONSTANT FINAL)
    Q_PROPERTY(pelorin::StatusPixmaps IconPixmap READ iconPixmap FINAL)
    Q_PROPERTY(QString IconAccessibleDesc READ name CONSTANT FINAL)
    Q_PROPERTY(QString OverlayIconName READ noText CONSTANT FINAL)
    Q_PROPERTY(pelorin::StatusPixmaps OverlayIconPixmap READ noPixmaps CONSTANT FINAL)
    Q_PROPERTY(QString AttentionIconName READ noText CONSTANT FINAL)
    Q_PROPERTY(pelorin::StatusPixmaps AttentionIconPixmap READ noPixmaps CONSTANT FINAL)
    Q_PROPERTY(QString AttentionMovieName READ noText CONSTANT FINAL)
    Q_PROPERTY(pelorin::StatusToolTip ToolTip READ toolTip FINAL)
    Q_PROPERTY(QString XAyatanaLabel READ label FINAL)
    Q_PROPERTY(QString XAyatanaLabelGuide READ noText CONSTANT FINAL)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT FINAL)
    Q_PROPERTY(QDBusObjectPath Menu READ menuPath CONSTANT FINAL)

public:
    /// Puts the item on this bus, if it is connected.
    explicit StatusNotifierItem(const QDBusConnection& bus);
    ~StatusNotifierItem() override;

    void setHandlers(Handlers handlers) override { m_handlers = std::move(handlers); }
    void setIcon(const StatusIcon& icon) override;
    void setMenu(const pelorin::Menu& menu) override { m_menu.setMenu(menu); }

    /// Whether there is a desktop now that shows such items.
    bool isShown() const { return m_isShown.value_or(false); }

    static QString category() { return QStringLiteral("ApplicationStatus"); }
    static QString id() { return QStringLiteral("pelorin"); }
    static QString status() { return QStringLiteral("Active"); }
    static QString name() { return QString::fromUtf16(accessibilityDescription); }
    static QString noText() { return {}; }
    static StatusPixmaps noPixmaps() { return {}; }
    static int windowId() { return 0; }
    static bool itemIsMenu() { return true; }
    static QDBusObjectPath menuPath();
    QString title() const { return name() + m_icon.title; }
    QString label() const { return m_icon.title; }
    StatusPixmaps iconPixmap() const;
    StatusToolTip toolTip() const;

public slots:
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    /// Asked for by places that do not draw our menu themselves.
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);
    /// What lets our next window come to the front on desktops that guard the focus.
    Q_SCRIPTABLE void ProvideXdgActivationToken(const QString& token);

signals:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void XAyatanaNewLabel(const QString& label, const QString& guide);
    /// `isShown` is known for the first time, or has changed.
    void shownChanged(bool isShown);

private slots:
    void lookForHost();

private:
    void exportObjects();
    void watchForWatchers();
    void announce();
    void setShown(bool isShown);
    void trigger(const MenuItem& item);
    void activate();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcherWatch;
    QString m_serviceName;
    DBusMenu m_menu;
    StatusIcon m_icon;
    Handlers m_handlers;
    std::optional<bool> m_isShown;
};

} // namespace pelorin
