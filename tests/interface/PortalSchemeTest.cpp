#include "BeaconryKit/interface/theme/linux/PortalScheme.h"

#include "tests/support/Eventually.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

using Scheme = DesktopScheme::Scheme;

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

/// A portal that knows one setting.
class FakePortal final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != QLatin1String("Read") ||
            message.arguments() !=
                QVariantList{QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme")})
            return false;
        const QVariant inner = QVariant::fromValue(QDBusVariant(scheme));
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(inner))));
        ++reads;
        return true;
    }

    uint scheme = 0;
    int reads = 0;
};

class PortalSchemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        ASSERT_TRUE(m_daemon.waitForReadyRead()) << m_daemon.errorString().toStdString();
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        QDBusConnection::connectToBus(m_address, QStringLiteral("portal"));
        QDBusConnection::connectToBus(m_address, QStringLiteral("client"));
    }

    void TearDown() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
        m_daemon.terminate();
        EXPECT_TRUE(m_daemon.waitForFinished());
    }

    static QDBusConnection portalBus() { return QDBusConnection(QStringLiteral("portal")); }
    static QDBusConnection clientBus() { return QDBusConnection(QStringLiteral("client")); }

    void startPortal(uint scheme) {
        portal.scheme = scheme;
        ASSERT_TRUE(portalBus().registerVirtualObject(path, &portal));
        ASSERT_TRUE(portalBus().registerService(service));
    }

    void announce(const QString& group, uint scheme) {
        QDBusMessage signal = QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal << group << QStringLiteral("color-scheme") << QVariant::fromValue(QDBusVariant(scheme));
        portalBus().send(signal);
    }

    static bool becomes(const PortalScheme& scheme, Scheme expected) {
        return eventually([&] { return scheme.scheme() == expected; });
    }

    FakePortal portal;

private:
    QProcess m_daemon;
    QString m_address;
};

TEST_F(PortalSchemeTest, ReadsTheScheme) {
    startPortal(1);
    const PortalScheme scheme(clientBus());
    EXPECT_EQ(scheme.scheme(), Scheme::unspecified);
    EXPECT_TRUE(becomes(scheme, Scheme::dark));
    portal.scheme = 2;
    const PortalScheme other(clientBus());
    EXPECT_TRUE(becomes(other, Scheme::light));
}

TEST_F(PortalSchemeTest, FollowsTheScheme) {
    startPortal(0);
    const PortalScheme scheme(clientBus());
    EXPECT_TRUE(eventually([&] { return portal.reads == 1; }));
    announce(QStringLiteral("org.freedesktop.appearance"), 1);
    EXPECT_TRUE(becomes(scheme, Scheme::dark));
    announce(QStringLiteral("something.else"), 2);
    announce(QStringLiteral("org.freedesktop.appearance"), 0);
    EXPECT_TRUE(becomes(scheme, Scheme::unspecified));
}

TEST(PortalScheme, StaysUnspecifiedWithoutABus) {
    const PortalScheme scheme(QDBusConnection(QStringLiteral("no such connection")));
    EXPECT_EQ(scheme.scheme(), Scheme::unspecified);
}

} // namespace
} // namespace pelorin
