#include "BeaconryKit/interface/theme/linux/PortalScheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace pelorin {

namespace {

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearance = QStringLiteral("org.freedesktop.appearance");
const auto colorScheme = QStringLiteral("color-scheme");

// The portal's own numbers.
constexpr uint prefersDark = 1;
constexpr uint prefersLight = 2;

} // namespace

PortalScheme::PortalScheme(const QDBusConnection& bus) {
    QDBusConnection connection = bus;
    if (!connection.isConnected())
        return;
    // The bus finds the slot by its parameters' type names. Nothing else may have registered this one yet.
    qRegisterMetaType<QDBusVariant>();
    connection.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                       SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    read << appearance << colorScheme;
    auto* const watcher = new QDBusPendingCallWatcher(connection.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QVariant> reply = *watcher;
        // A change may arrive before this reply, which is older and then counts no more.
        if (!reply.isError() && !m_wasTold)
            take(reply.value());
    });
}

void PortalScheme::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group != appearance || key != colorScheme)
        return;
    m_wasTold = true;
    take(value.variant());
}

void PortalScheme::take(const QVariant& value) {
    // Some portals wrap the value in a second variant.
    const QVariant plain = value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
    switch (plain.toUInt()) {
    case prefersDark:
        setScheme(Scheme::dark);
        break;
    case prefersLight:
        setScheme(Scheme::light);
        break;
    default:
        setScheme(Scheme::unspecified);
    }
}

} // namespace pelorin
