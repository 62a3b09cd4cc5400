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

} // namespace
} // namespace pelorin::hook
