#pragma once

#include "tests/support/TestProcess.h"

#include <QList>
#include <QString>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

namespace pelorin {

/// Tests on a desktop with nothing on it but what they start; run-under-x11.sh provides it.
class X11DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;

    /// Starts a terminal program, or another, with a home of the test's own.
    std::unique_ptr<TestProcess> start(const std::vector<std::string>& command) const;

    /// A file in the home.
    QString filePath(const QString& name) const { return home.filePath(name); }
    /// What the file holds; nothing while it does not.
    QString contents(const QString& name) const;
    /// What the file holds, line ends aside, once it holds a whole line.
    QString waitForLine(const QString& name) const;

    /// Runs a command and returns what it prints, blanks at the ends aside.
    static QString run(const QStringList& command);
    /// The window that the manager calls the active one; empty when none is.
    static QString activeWindow();
    /// Whether that window is the active one and above all others.
    static bool isInFront(const QString& window);
    /// Waits until the process has a window in front, and returns it.
    static QString waitForWindowInFront(const TestProcess& process);
    static bool comesToTheFront(const QString& window);

    QTemporaryDir home;
};

} // namespace pelorin
