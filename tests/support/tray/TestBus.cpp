#include "tests/support/tray/TestBus.h"

#include "tests/support/Eventually.h"

#include <QDBusPendingCall>
#include <gtest/gtest.h>

namespace pelorin {

TestBus::TestBus() {
    m_daemon = TestProcess::start({.command = {"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address"},
                                   .environment = {"PATH=/usr/bin:/bin"}});
    EXPECT_TRUE(m_daemon->waitForOutput([](const std::string& text) { return text.ends_with('\n'); }));
    m_address = QString::fromStdString(m_daemon->output()).trimmed();
}

TestBus::~TestBus() {
    for (const QString& name : m_connectionNames)
        QDBusConnection::disconnectFromBus(name);
}

QDBusConnection TestBus::connect() {
    static int count = 0;
    m_connectionNames << QStringLiteral("test connection %1").arg(++count);
    auto connection = QDBusConnection::connectToBus(m_address, m_connectionNames.last());
    EXPECT_TRUE(connection.isConnected());
    return connection;
}

QDBusMessage TestBus::call(const QDBusConnection& connection, const QDBusMessage& message) {
    const QDBusPendingCall pending = connection.asyncCall(message);
    if (!eventually([&] { return pending.isFinished(); }))
        return message.createErrorReply(QDBusError::NoReply, QStringLiteral("There is no reply."));
    return pending.reply();
}

} // namespace pelorin
