#pragma once

#include "BeaconryKit/interface/theme/DesktopScheme.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QString>

namespace pelorin {

/// The scheme as the desktop portal tells it, and tells it again when it changes. Where there is no portal, or no bus,
/// it stays unspecified.
class PortalScheme final : public DesktopScheme {
    Q_OBJECT

public:
    explicit PortalScheme(const QDBusConnection& bus);

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void take(const QVariant& value);

    // Whether a change has been announced.
    bool m_wasTold = false;
};

} // namespace pelorin
