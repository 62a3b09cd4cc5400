#include "BeaconryBase/ProcessFacts.h"

#include <gmock/gmock.h>

#include <unistd.h>
#ifdef __linux__
#include <sys/sysmacros.h>
#endif

namespace pelorin {
namespace {

unsigned long deviceNumber(unsigned long major, unsigned long minor) {
    return (minor & 0xFF) | (major << 8) | ((minor & ~0xFFUL) << 12);
}

TEST(LinuxTerminalName, KnowsTheTerminalsByTheirNumbers) {
    const std::tuple<unsigned long, unsigned long, std::string> table[] = {
        {136, 0, "pts/0"},
        {136, 3, "pts/3"},
        {136, 255, "pts/255"},
        {136, 256, "pts/256"},
        {136, 4095, "pts/4095"},
        {137, 0, "pts/256"},
        {137, 5, "pts/261"},
        {143, 255, "pts/2047"},
        {4, 1, "tty1"},
        {4, 63, "tty63"},
        {4, 64, "ttyS0"},
        {4, 67, "ttyS3"},
        {166, 0, "ttyACM0"},
        {188, 2, "ttyUSB2"},
        {204, 64, "ttyAMA0"},
        {204, 5, ""},
        {229, 0, "hvc0"},
        {0, 0, ""},
        {1, 3, ""},
        {135, 1, ""},
        {144, 0, ""},
        {8, 0, ""},
    };
    for (const auto& [major, minor, name] : table)
        EXPECT_EQ(linuxTerminalName(deviceNumber(major, minor)), name) << major << ":" << minor;
    EXPECT_EQ(linuxTerminalName(34816), "pts/0");
    EXPECT_EQ(linuxTerminalName(1025), "tty1");
}

TEST(ParseProcessStat, FindsParentSessionAndTerminal) {
    const auto facts = parseProcessStat("4217 (node) S 4210 4217 4210 34819 4217 4194304 1 2 3\n");
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->parent, 4210);
    EXPECT_EQ(facts->session, 4210);
    EXPECT_EQ(facts->terminal, "pts/3");
    EXPECT_EQ(facts->terminalDevice, makedev(136, 3));
}

TEST(ParseProcessStat, KnowsTheDeviceOfATerminalWithALargeNumber) {
    const auto facts = parseProcessStat("1 (a) S 0 1 1 " + std::to_string(deviceNumber(136, 0x12345)) + " -1\n");
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->terminalDevice, makedev(136, 0x12345));
}

TEST(ParseProcessStat, FindsTheStart) {
    const auto facts =
        parseProcessStat("4217 (node) S 4210 4217 4210 0 -1 4194304 1 2 3 4 5 6 7 8 20 0 11 0 987654 99 1\n");
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->startTime, 987654U);
    EXPECT_EQ(parseProcessStat("1 (a) S 0 1 1 0 -1 4194560 5")->startTime, 0U);
    EXPECT_EQ(lookUpProcess(getpid())->startTime, lookUpProcess(getpid())->startTime);
    EXPECT_NE(lookUpProcess(getpid())->startTime, 0U);
}

TEST(ParseProcessStat, IsNotMisledByTheProgramsName) {
    for (const std::string_view name : {"a b", ") S 1 1 1 34816", "(()", "x) (y", "\n1 2 3 4"}) {
        const auto facts = parseProcessStat("7 (" + std::string(name) + ") R 6 7 7 1025 -1 0\n");
        ASSERT_TRUE(facts) << name;
        EXPECT_EQ(facts->parent, 6) << name;
        EXPECT_EQ(facts->terminal, "tty1") << name;
    }
}

TEST(ParseProcessStat, LeavesTheTerminalEmptyWhereThereIsNone) {
    const auto facts = parseProcessStat("1 (systemd) S 0 1 1 0 -1 4194560 5");
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->parent, 0);
    EXPECT_EQ(facts->terminal, "");
}

TEST(ParseProcessStat, RefusesWhatIsCutShort) {
    for (const std::string_view text : {"", "1", "1 (a", "1 (a)", "1 (a) S", "1 (a) S 2", "1 (a) S 2 3 4",
                                        "1 (a) S x 3 4 5", "1 (a) S 2 3 x 5", "1 (a) S 2 3 4 x"})
        EXPECT_FALSE(parseProcessStat(text)) << text;
}

TEST(LookUpProcess, KnowsThisProcess) {
    const auto facts = lookUpProcess(getpid());
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->parent, getppid());
    EXPECT_EQ(facts->session, getsid(0));
    EXPECT_FALSE(lookUpProcess(-5));
}

} // namespace
} // namespace pelorin
