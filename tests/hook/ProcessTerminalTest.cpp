#include "BeaconryHook/ProcessTerminal.h"

#include <gmock/gmock.h>

#include <map>

namespace pelorin::hook {
namespace {

TEST(ProcessIdIn, TakesOnlyProcessIds) {
    EXPECT_EQ(processIdIn("4217"), 4217);
    for (const std::string_view text : {"", "0", "-1", "+5", " 5", "5 ", "5x", "99999999999999999999"})
        EXPECT_EQ(processIdIn(text), 0) << text;
}

std::optional<ProcessFacts> lookUpInTable(pid_t process) {
    static const std::map<pid_t, ProcessFacts> processes = {
        {10, {9, ""}}, {9, {8, ""}},      {8, {1, "pts/8"}}, {1, {0, ""}},
        {20, {8, ""}}, {21, {8, "tty2"}}, {30, {31, ""}},    {31, {30, ""}},
    };
    const auto found = processes.find(process);
    return found == processes.end() ? std::nullopt : std::optional(found->second);
}

TEST(FindTerminal, PrefersTheOneOfTheCli) {
    EXPECT_EQ(findTerminal(21, 10, lookUpInTable), "tty2");
}

TEST(FindTerminal, SearchesTheParentsOtherwise) {
    EXPECT_EQ(findTerminal(0, 10, lookUpInTable), "pts/8");
    EXPECT_EQ(findTerminal(20, 10, lookUpInTable), "pts/8");
    EXPECT_EQ(findTerminal(999, 9, lookUpInTable), "pts/8");
}

TEST(FindTerminal, FindsNoneWhereThereIsNone) {
    EXPECT_EQ(findTerminal(0, 1, lookUpInTable), "");
    EXPECT_EQ(findTerminal(0, 0, lookUpInTable), "");
    EXPECT_EQ(findTerminal(0, 999, lookUpInTable), "");
    EXPECT_EQ(findTerminal(0, 30, lookUpInTable), "");
}

std::optional<ProcessFacts> lookUpInSessions(pid_t process) {
    static const std::map<pid_t, ProcessFacts> processes = {
        // A hook in a session of its own, below a shell, below its CLI.
        {50, {.parent = 49, .startTime = 500, .session = 49}},
        {49, {.parent = 48, .startTime = 490, .session = 49}},
        {48, {.parent = 1, .terminal = "pts/4", .startTime = 480, .session = 40}},
        // A hook that shares its CLI's terminal.
        {60, {.parent = 48, .terminal = "pts/4", .startTime = 600, .session = 40}},
        // One whose CLI has gone, and one in a circle of parents.
        {70, {.parent = 1, .startTime = 700, .session = 70}},
        {1, {.parent = 0, .startTime = 1, .session = 1}},
        {80, {.parent = 81, .startTime = 800, .session = 80}},
        {81, {.parent = 80, .startTime = 810, .session = 80}},
    };
    const auto found = processes.find(process);
    return found == processes.end() ? std::nullopt : std::optional(found->second);
}

TEST(FindCli, IsTheNearestAncestorOutsideTheHooksSession) {
    const NamedProcess cli = findCli(0, 50, lookUpInSessions);
    EXPECT_EQ(cli.process, 48);
    EXPECT_EQ(cli.startTime, 480U);
    // The variable may be a left-over of an outer CLI.
    EXPECT_EQ(findCli(60, 50, lookUpInSessions).process, 48);
}

TEST(FindCli, TakesTheClisWordWhereTheSessionTellsNothing) {
    EXPECT_EQ(findCli(48, 60, lookUpInSessions).process, 48);
    EXPECT_EQ(findCli(48, 60, lookUpInSessions).startTime, 480U);
    EXPECT_EQ(findCli(48, 70, lookUpInSessions).process, 48);
    EXPECT_EQ(findCli(0, 60, lookUpInSessions).process, 0);
    EXPECT_EQ(findCli(999, 60, lookUpInSessions).process, 0);
    for (const pid_t hook : {70, 80, 999})
        EXPECT_EQ(findCli(0, hook, lookUpInSessions).process, 0) << hook;
}

} // namespace
} // namespace pelorin::hook
