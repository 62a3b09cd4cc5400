#pragma once

#include "tests/support/TestProcess.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>

namespace pelorin {

/// A session bus of the test's own, which nothing else is on.
class TestBus {
public:
    TestBus();
    ~TestBus();
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

    /// What programs find the bus by.
    const QString& address() const { return m_address; }

    /// A connection of its own, as another program has it. It ends with the bus.
    QDBusConnection connect();

    /// Makes a call and turns the event loop until the reply comes, for callers that live in one process with who
    /// answers. An error message when there is none.
    static QDBusMessage call(const QDBusConnection& connection, const QDBusMessage& message);

private:
    std::unique_ptr<TestProcess> m_daemon;
    QString m_address;
    QStringList m_connectionNames;
};

} // namespace pelorin
