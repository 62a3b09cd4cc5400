#include "BeaconryKit/terminal/ProcessLauncher.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"

#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace pelorin {
namespace {

class ProcessLauncherTest : public ::testing::Test {
protected:
    /// Runs the shell script, in which "$1" is a file of the test.
    void start(const QString& script, const QString& file) {
        launcher.start("/bin/sh", {"-c", script, "sh", folder.filePath(file)});
    }
    QByteArray contents(const QString& file) const {
        QFile opened(folder.filePath(file));
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }

    QTemporaryDir folder;
    ProcessLauncher launcher;
};

TEST_F(ProcessLauncherTest, PassesArgumentsUnchanged) {
    const QStringList arguments{"two words", "$HOME", "*", ";exit", "a\"b'c\\d", "line\nline", "é❯😀", "-n", ""};
    const QString script = "file=$1; shift; printf '[%s]' \"$@\" >\"$file.new\"; mv \"$file.new\" \"$file\"";
    launcher.start("/bin/sh", QStringList{"-c", script, "sh", folder.filePath("arguments")} + arguments);
    EXPECT_TRUE(eventually([&] { return !contents("arguments").isEmpty(); }));
    EXPECT_EQ(QString::fromUtf8(contents("arguments")), "[" + arguments.join("][") + "]");
}

TEST_F(ProcessLauncherTest, DoesNotWaitForTheProgram) {
    // Nobody writes to the pipe before the start has come back.
    ASSERT_EQ(mkfifo(folder.filePath("pipe").toUtf8().constData(), 0600), 0);
    start("read line <\"$1\"", "pipe");
    EXPECT_EQ(runningChildren().size(), 1);
    QFile pipe(folder.filePath("pipe"));
    ASSERT_TRUE(pipe.open(QIODevice::WriteOnly));
    pipe.write("go\n");
    pipe.close();
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

TEST_F(ProcessLauncherTest, SaysNothingWhenThereIsNoSuchProgram) {
    const QStringList before = openDescriptors();
    for (const QString path : {"/nowhere/osascript", "/etc/passwd", "relative", ""})
        launcher.start(path, {"-e", "text"});
    EXPECT_TRUE(onlyLeavesOpen(before));
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

TEST_F(ProcessLauncherTest, GivesOnTheStandardStreamsAndNothingElse) {
    // Open, and not marked to be closed.
    const FileDescriptor careless(open("/dev/null", O_RDONLY));
    const FileDescriptor high(fcntl(careless.number(), F_DUPFD, 700));
    ASSERT_TRUE(careless.isOpen() && high.isOpen());
    launcher.start("/bin/bash", {"-c",
                                 "exec 9>\"$1.new\"; readlink /proc/$$/fd/[012] >&9; ls /proc/$$/fd >&9; "
                                 "mv \"$1.new\" \"$1\"",
                                 "bash", folder.filePath("streams")});
    EXPECT_TRUE(eventually([&] { return !contents("streams").isEmpty(); }));
    std::string expected;
    for (const char* stream : {"0", "1", "2"})
        expected += std::filesystem::read_symlink(std::string("/proc/self/fd/") + stream).string() + '\n';
    // The ninth is the script's own.
    EXPECT_EQ(contents("streams").toStdString(), expected + "0\n1\n2\n9\n");
}

TEST_F(ProcessLauncherTest, LeavesNothingBehind) {
    start("exit 0", "unused");
    ASSERT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
    const QStringList before = openDescriptors();
    for (int run = 0; run < 50; ++run)
        start("exit 3", "unused");
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
    EXPECT_TRUE(onlyLeavesOpen(before));
}

TEST_F(ProcessLauncherTest, MayBeUsedOnManyThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            for (int run = 0; run < 20; ++run)
                start("printf x >>\"$1\"", "marks");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(eventually([&] { return contents("marks").size() == 80; })) << contents("marks").size();
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

} // namespace
} // namespace pelorin
