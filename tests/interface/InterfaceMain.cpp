#include <QByteArray>
#include <QFont>
#include <QGuiApplication>
#include <gtest/gtest.h>

// Windows off any screen. Their text size must not depend on the machine.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Nor must their colours depend on the desktop that the tests are run on.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null");
    QGuiApplication application(argc, argv);
    QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    return RUN_ALL_TESTS();
}
