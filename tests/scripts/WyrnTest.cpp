#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestProcess.h"
#include "tests/support/TestTerminal.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

namespace pelorin {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const std::string wyrn = PELORIN_SOURCE_DIR "/bin/wyrn";

// A folder with CLIs that tell how they were started.
class Wyrn : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"claude", "codex"})
            makeCli(name, "echo \"$0 is $$\"\nfor argument; do echo \"<$argument>\"; done\n"
                          "echo \"opted in: ${PELORIN_OPT_IN-no}, label: ${PELORIN_LABEL-none}\"\n");
    }

    void makeCli(const std::string& name, const std::string& script) {
        const fs::path cli = m_folder.path() / name;
        std::ofstream(cli) << "#!/bin/sh\n" << script;
        fs::permissions(cli, fs::perms::owner_all);
    }

    std::unique_ptr<TestProcess> start(const std::vector<std::string>& arguments,
                                       const std::vector<std::string>& environment = {},
                                       const std::string& terminal = {}) {
        ChildOptions options{.command = {"/bin/sh", wyrn}, .environment = environment, .controllingTerminal = terminal};
        options.command.insert(options.command.end(), arguments.begin(), arguments.end());
        options.environment.push_back("PATH=" + m_folder.path().string() + ":/usr/bin:/bin");
        auto child = TestProcess::start(options);
        EXPECT_TRUE(child);
        return child;
    }

    // What a CLI says that is started with these words.
    std::string startLines(TestProcess& child, const std::string& cli, const std::string& rest) {
        return (m_folder.path() / cli).string() + " is " + std::to_string(child.processId()) + "\n" + rest;
    }

    void expectStart(const std::vector<std::string>& arguments, const std::string& cli, const std::string& rest,
                     const std::vector<std::string>& environment = {}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const auto child = start(arguments, environment);
        EXPECT_EQ(child->waitForExit(), exited(0)) << child->errors();
        EXPECT_EQ(child->output(), startLines(*child, cli, rest));
        EXPECT_EQ(child->errors(), "");
    }

private:
    TemporaryDirectory m_folder;
};

TEST_F(Wyrn, RunsTheCliInPlace) {
    expectStart({}, "claude", "opted in: 1, label: none\n");
    expectStart({"codex"}, "codex", "opted in: 1, label: none\n");
    expectStart({"codex", "a b", "", "*"}, "codex", "<a b>\n<>\n<*>\nopted in: 1, label: none\n");
    expectStart({"--label", "my \"api\"", "codex", "--label", "x"}, "codex",
                "<--label>\n<x>\nopted in: 1, label: my \"api\"\n");
    expectStart({"--label=", "claude"}, "claude", "opted in: 1, label: \n");
    expectStart({"--label=web"}, "claude", "opted in: 1, label: web\n");
}

TEST_F(Wyrn, TakesOptionsForThoseOfTheUsualCli) {
    expectStart({"--resume", "x"}, "claude", "<--resume>\n<x>\nopted in: 1, label: none\n");
    expectStart({"--label", "l", "-p", "hi"}, "claude", "<-p>\n<hi>\nopted in: 1, label: l\n");
    expectStart({"--", "--help"}, "claude", "<--help>\nopted in: 1, label: none\n");
    expectStart({"--", "codex", "--help"}, "codex", "<--help>\nopted in: 1, label: none\n");
}

TEST_F(Wyrn, GivesNoSessionTheLabelOfAnother) {
    expectStart({"codex"}, "codex", "opted in: 1, label: none\n", {"PELORIN_LABEL=outer"});
}

TEST_F(Wyrn, EndsAsTheCliEnds) {
    makeCli("fails", "exit 42\n");
    EXPECT_EQ(start({"fails"})->waitForExit(), exited(42));
    makeCli("dies", "kill -KILL $$\n");
    EXPECT_EQ(start({"dies"})->waitForExit(), killedBy(SIGKILL));
}

TEST_F(Wyrn, HandsSignalsAndInputToTheCli) {
    makeCli("waits", "trap 'echo interrupted; exit 7' INT\necho ready\nread line\necho \"got $line\"\nread line\n");
    const auto child = start({"waits"});
    ASSERT_TRUE(child->waitForOutput([](const std::string& output) { return output == "ready\n"; }));
    ASSERT_TRUE(child->writeInput("a line\n"));
    ASSERT_TRUE(child->waitForOutput([](const std::string& output) { return output == "ready\ngot a line\n"; }));
    ASSERT_TRUE(child->sendSignal(SIGINT));
    EXPECT_EQ(child->waitForExit(), exited(7));
    EXPECT_EQ(child->output(), "ready\ngot a line\ninterrupted\n");
}

TEST_F(Wyrn, LeavesTheTerminalToTheCli) {
    makeCli("looks", "ps -o tty= -p $$\n");
    const TestTerminal terminal;
    const auto child = start({"looks"}, {}, terminal.devicePath());
    EXPECT_EQ(child->waitForExit(), exited(0));
    EXPECT_THAT(child->output(), HasSubstr(terminal.name()));
}

TEST_F(Wyrn, ComplainsOfAProgramThatIsNotThere) {
    const auto child = start({"no-such-cli"});
    EXPECT_EQ(child->waitForExit(), exited(127));
    EXPECT_EQ(child->errors(), "wyrn: there is no program named no-such-cli.\n");
}

TEST_F(Wyrn, ExplainsItself) {
    const std::string usage = "usage: wyrn [--label NAME] [CLI] [ARGUMENT...]\n";
    const auto help = start({"--help"});
    EXPECT_EQ(help->waitForExit(), exited(0));
    EXPECT_EQ(help->output(), usage);
    const auto incomplete = start({"--label"});
    EXPECT_EQ(incomplete->waitForExit(), exited(2));
    EXPECT_EQ(incomplete->errors(), usage);
}

} // namespace
} // namespace pelorin
