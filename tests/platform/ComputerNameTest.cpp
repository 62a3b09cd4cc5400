#include "BeaconryKit/platform/ComputerName.h"

#if defined(__linux__)
#include "BeaconryKit/platform/linux/MachineInfo.h"
#endif

#include <QSysInfo>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

TEST(ComputerName, IsKnownOnAMachineWithAHostName) {
    ASSERT_NE(QSysInfo::machineHostName(), "");
    const auto name = computerName();
    ASSERT_TRUE(name);
    EXPECT_NE(*name, "");
}

#if defined(__linux__)
TEST(ComputerName, ReadsThePrettyNameThatTheUserGave) {
    const std::tuple<const char*, std::optional<QString>> rows[] = {
        {"PRETTY_HOSTNAME=\"Ann's laptop\"\n", "Ann's laptop"},
        {"ICON_NAME=computer\nPRETTY_HOSTNAME=desk\nCHASSIS=desktop\n", "desk"},
        {"PRETTY_HOSTNAME='The \"old\" one'", "The \"old\" one"},
        {"PRETTY_HOSTNAME=\"a \\\"b\\\" \\$c \\\\\"", "a \"b\" $c \\"},
        {"PRETTY_HOSTNAME='a\\b'", "a\\b"},
        {"PRETTY_HOSTNAME=\"B\xc3\xbcro\"\r\n", "Büro"},
        {"PRETTY_HOSTNAME=first\nPRETTY_HOSTNAME=second\n", "second"},
        {"  PRETTY_HOSTNAME=indented  \n", "indented"},
        {"PRETTY_HOSTNAME=\"open\n", "open"},
        {"PRETTY_HOSTNAME=\\", "\\"},
        {"PRETTY_HOSTNAME=\"\"\n", std::nullopt},
        {"PRETTY_HOSTNAME=\n", std::nullopt},
        {"#PRETTY_HOSTNAME=no\nXPRETTY_HOSTNAME=no\nPRETTY_HOSTNAME no\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [contents, name] : rows)
        EXPECT_EQ(prettyHostname(contents), name) << contents;
}
#endif

} // namespace
} // namespace pelorin
