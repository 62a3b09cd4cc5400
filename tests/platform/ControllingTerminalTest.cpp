#include "BeaconryKit/platform/linux/ControllingTerminal.h"

#include "tests/support/TestProcess.h"
#include "tests/support/TestTerminal.h"

#include <gmock/gmock.h>

#include <csignal>
#include <list>
#include <unistd.h>

namespace pelorin {
namespace {

std::unique_ptr<TestProcess> startOn(const TestTerminal& terminal, const std::string& script) {
    auto process = TestProcess::start({.command = {"/bin/sh", "-c", "echo; " + script},
                                       .environment = {"PATH=/usr/bin:/bin", "FIRST=", "WINDOW=1", "PAIR=2=3"},
                                       .controllingTerminal = terminal.devicePath()});
    EXPECT_TRUE(process->waitForOutput([](const std::string& text) { return text.starts_with('\n'); }));
    return process;
}

QString path(const TestTerminal& terminal) {
    return QString::fromStdString(terminal.devicePath());
}

TEST(ControllingTerminal, KnowsWhoLeadsTheSessionOnATerminal) {
    const TestTerminal first;
    const TestTerminal second;
    // Not the leader's children, which have the same terminal.
    const auto leader = startOn(first, "sleep 1000 & sleep 1000 & wait");
    const auto other = startOn(second, "exec sleep 1000");
    EXPECT_EQ(terminalSessionLeader(path(first)), leader->processId());
    EXPECT_EQ(terminalSessionLeader(path(second)), other->processId());
}

TEST(ControllingTerminal, KnowsATerminalWithALargeNumber) {
    // The kernel writes numbers beyond 255 in two parts.
    std::list<TestTerminal> terminals(1);
    while (terminals.back().name().size() < 7 || terminals.back().name() < "pts/256")
        terminals.emplace_back();
    const auto leader = startOn(terminals.back(), "exec sleep 1000");
    EXPECT_EQ(terminalSessionLeader(path(terminals.back())), leader->processId()) << terminals.back().name();
}

TEST(ControllingTerminal, FindsNobodyOnWhatIsNoTerminalOfASession) {
    const TestTerminal unused;
    for (const QString& device : {path(unused), QString("/dev/pts/987654"), QString("/dev/null"),
                                  QString("/etc/passwd"), QString("/dev"), QString()})
        EXPECT_EQ(terminalSessionLeader(device), std::nullopt) << device.toStdString();
}

TEST(ControllingTerminal, KnowsParentsAndTheEnvironmentThatTheyGave) {
    const TestTerminal terminal;
    const auto process = startOn(terminal, "exec /bin/sh -c 'sleep 1000'");
    EXPECT_EQ(parentProcess(process->processId()), getpid());
    EXPECT_EQ(initialVariable(process->processId(), "WINDOW"), "1");
    EXPECT_EQ(initialVariable(process->processId(), "FIRST"), "");
    EXPECT_EQ(initialVariable(process->processId(), "PAIR"), "2=3");
    EXPECT_EQ(initialVariable(process->processId(), "SECOND"), std::nullopt);
    process->sendSignal(SIGKILL);
    ASSERT_TRUE(process->waitForExit());
    EXPECT_EQ(parentProcess(process->processId()), 0);
    EXPECT_EQ(initialVariable(process->processId(), "WINDOW"), std::nullopt);
}

} // namespace
} // namespace pelorin
