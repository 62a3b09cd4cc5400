#include <QCoreApplication>
#include <gtest/gtest.h>

// Queues, timers and sockets of the toolkit need an application object. Tests that draw have a main of their own.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
