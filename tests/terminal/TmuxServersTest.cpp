#include "tests/support/Eventually.h"
#include "tests/support/TmuxServer.h"

#include "BeaconryKit/terminal/ProcessRunner.h"
#include "BeaconryKit/terminal/SessionTerminal.h"
#include "BeaconryKit/terminal/TmuxClients.h"

#include <QFile>
#include <gmock/gmock.h>

#include <unistd.h>

namespace pelorin {
namespace {

/// Two real tmux servers: the default one, and one on a socket of its own. Their panes have the same ids.
class TmuxServersTest : public ::testing::Test {
protected:
    void SetUp() override {
        pane = server.newSession("work", asking("answers"));
        ASSERT_EQ(server.run({"-S", socket(), "-u", "-f", "/dev/null", "new-session", "-d", "-P", "-F", "#{pane_id}",
                              "-x", "100", "-y", "30", "-s", "other", asking("other-answers")}),
                  pane);
        ASSERT_TRUE(eventually([&] {
            return terminal({}).screen()->contains("3. No") && terminal(socket()).screen()->contains("3. No");
        }));
    }
    void TearDown() override { server.run({"-S", socket(), "kill-server"}); }

    QString socket() const { return server.filePath("other-socket"); }
    QString asking(const QString& file) const {
        return QString("exec '%1/tests/fixtures/programs/asking.sh' '%2'")
            .arg(PELORIN_SOURCE_DIR, server.filePath(file));
    }
    QString answered(const QString& name) const {
        QFile file(server.filePath(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    SessionTerminal terminal(const QString& socketPath) { return {{.tmuxPane = pane}, TmuxSocket(socketPath), runner}; }
    /// Opens a window of the default server in which somebody looks at a session of the other one.
    QString attach(const QString& session) {
        const QString window =
            server.newWindow("work", "exec env -u TMUX tmux -S " + socket() + " attach -t " + session);
        const QString device = server.run({"display-message", "-p", "-t", window, "#{pane_tty}"});
        EXPECT_TRUE(eventually([&] { return shownSession(device) == session; }));
        return device;
    }
    QString shownSession(const QString& device) {
        return server.run({"-S", socket(), "display-message", "-p", "-c", device, "#{client_session}"});
    }

    TmuxServer server;
    ProcessRunner runner;
    QString pane;
};

TEST_F(TmuxServersTest, KeysReachThePaneOfTheirOwnServer) {
    const SessionTerminal other = terminal(socket());
    other.type("to the other");
    other.pressReturn();
    EXPECT_TRUE(eventually([&] { return answered("other-answers") == "to the other\n"; }));
    EXPECT_TRUE(eventually([&] { return other.screen()->contains("to the other"); }));
    EXPECT_EQ(answered("answers"), "");
    EXPECT_FALSE(terminal({}).screen()->contains("to the other"));
    EXPECT_NE(other.name(), terminal({}).name());
}

TEST_F(TmuxServersTest, WordsArriveAsTheyStand) {
    const SessionTerminal session = terminal({});
    QString expected;
    for (const char* const words :
         {"- use yarn", "-R", "stop;", ";", "a\\;", ";;", "C-c", "Enter", "it's \"$HOME\" #{x} é😀"}) {
        session.type(words);
        session.pressReturn();
        expected += QString(words) + '\n';
        EXPECT_TRUE(eventually([&] { return answered("answers") == expected; })) << answered("answers").toStdString();
    }
}

TEST_F(TmuxServersTest, APaneThatIsScrolledBackTakesNoKeys) {
    EXPECT_TRUE(terminal({}).takesKeys());
    server.run({"copy-mode", "-t", pane});
    EXPECT_FALSE(terminal({}).takesKeys());
    EXPECT_FALSE(SessionTerminal({.tmuxPane = "%99"}, TmuxSocket(), runner).takesKeys());
}

TEST_F(TmuxServersTest, ASocketThatIsNotOurUsersIsNotAsked) {
    QFile file(server.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (const QString& path : {file.fileName(), server.filePath("missing"), QString("relative")}) {
        EXPECT_FALSE(TmuxSocket(path).isOurs());
        EXPECT_EQ(terminal(path).screen(), std::nullopt);
    }
    EXPECT_TRUE(TmuxSocket(socket()).isOurs());
    EXPECT_TRUE(TmuxSocket().isOurs());
    if (geteuid() != 0)
        GTEST_SKIP() << "Only root can give a socket to another user.";
    ASSERT_EQ(chown(QFile::encodeName(socket()).constData(), 65534, 65534), 0);
    EXPECT_FALSE(TmuxSocket(socket()).isOurs());
    EXPECT_EQ(terminal(socket()).screen(), std::nullopt);
}

TEST_F(TmuxServersTest, TheDefaultServerIsKnownByItsSocket) {
    const QString own = server.run({"display-message", "-p", "#{socket_path}"});
    EXPECT_TRUE(TmuxSocket(own).isDefault());
    EXPECT_EQ(TmuxSocket(own).arguments({"list-panes"}), QStringList("list-panes"));
    EXPECT_FALSE(TmuxSocket(socket()).isDefault());
    EXPECT_EQ(TmuxSocket(socket()).arguments({"list-panes"}), QStringList({"-S", socket(), "list-panes"}));
}

TEST_F(TmuxServersTest, AClientThatShowsAnotherSessionIsSwitched) {
    const TmuxSocket other(socket());
    EXPECT_EQ(TmuxClients::show(pane, other, runner), std::nullopt);
    server.run({"-S", socket(), "new-session", "-d", "-s", "elsewhere", "exec sleep 600"});
    const QString device = attach("elsewhere");
    EXPECT_EQ(TmuxClients::show(pane, other, runner), device);
    EXPECT_EQ(shownSession(device), "other");
    // Whoever shows it already is chosen, and nobody else is switched.
    const QString second = attach("elsewhere");
    EXPECT_EQ(TmuxClients::show(pane, other, runner), device);
    EXPECT_EQ(shownSession(second), "elsewhere");
    EXPECT_EQ(TmuxClients::show("%99", other, runner), std::nullopt);
}

} // namespace
} // namespace pelorin
