#include "BeaconryKit/platform/PseudoTerminal.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace pelorin {
namespace {

winsize sizeOf(const FileDescriptor& terminal) {
    winsize size{};
    EXPECT_EQ(ioctl(terminal.number(), TIOCGWINSZ, &size), 0);
    return size;
}

TEST(PseudoTerminal, HasTheSizeThatItIsGiven) {
    const auto terminal = PseudoTerminal::open({132, 43});
    ASSERT_TRUE(terminal);
    EXPECT_EQ(sizeOf(terminal->slave).ws_col, 132);
    EXPECT_EQ(sizeOf(terminal->slave).ws_row, 43);
    EXPECT_TRUE(PseudoTerminal::resize(terminal->master, {65535, 1}));
    EXPECT_EQ(sizeOf(terminal->slave).ws_col, 65535);
    EXPECT_EQ(sizeOf(terminal->slave).ws_row, 1);
    EXPECT_EQ(sizeOf(terminal->slave).ws_xpixel, 0);
    EXPECT_EQ(sizeOf(terminal->slave).ws_ypixel, 0);
    EXPECT_FALSE(PseudoTerminal::resize(FileDescriptor(), {80, 24}));
}

TEST(PseudoTerminal, ConnectsItsSides) {
    const auto terminal = PseudoTerminal::open({80, 24});
    ASSERT_TRUE(terminal);
    EXPECT_TRUE(isatty(terminal->slave.number()));
    ASSERT_EQ(write(terminal->master.number(), "in\n", 3), 3);
    char text[16];
    EXPECT_EQ(read(terminal->slave.number(), text, sizeof text), 3);
    // The system's default attributes: what is typed is shown, and line feeds become line ends.
    EXPECT_EQ(read(terminal->master.number(), text, sizeof text), 4);
    EXPECT_EQ(std::string(text, 4), "in\r\n");
}

TEST(PseudoTerminal, IsNotPassedToChildren) {
    const auto terminal = PseudoTerminal::open({80, 24});
    ASSERT_TRUE(terminal);
    EXPECT_NE(fcntl(terminal->master.number(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(terminal->slave.number(), F_GETFD) & FD_CLOEXEC, 0);
}

} // namespace
} // namespace pelorin
