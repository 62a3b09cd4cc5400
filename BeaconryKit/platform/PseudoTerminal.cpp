#include "BeaconryKit/platform/PseudoTerminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#if defined(__APPLE__)
#include <util.h>
#endif

namespace pelorin {

namespace {

winsize windowSize(TerminalSize size) {
    winsize window{};
    window.ws_col = size.columns;
    window.ws_row = size.rows;
    return window;
}

std::optional<PseudoTerminal> openPair(const winsize& size) {
#if defined(__APPLE__)
    int master = -1;
    int slave = -1;
    winsize window = size;
    if (openpty(&master, &slave, nullptr, nullptr, &window) != 0)
        return std::nullopt;
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    return PseudoTerminal{FileDescriptor(master), FileDescriptor(slave)};
#else
    // The steps of openpty, which cannot open close-on-exec: a child that another thread starts in between must not get
    // the descriptors.
    PseudoTerminal pair;
    pair.master = FileDescriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!pair.master.isOpen() || grantpt(pair.master.number()) != 0 || unlockpt(pair.master.number()) != 0)
        return std::nullopt;
    pair.slave = FileDescriptor(ioctl(pair.master.number(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!pair.slave.isOpen() || ioctl(pair.slave.number(), TIOCSWINSZ, &size) != 0)
        return std::nullopt;
    return pair;
#endif
}

} // namespace

std::optional<PseudoTerminal> PseudoTerminal::open(TerminalSize size) {
    auto pair = openPair(windowSize(size));
    if (!pair)
        return std::nullopt;
    pair->master = FileDescriptor::aboveStandardStreams(std::move(pair->master));
    pair->slave = FileDescriptor::aboveStandardStreams(std::move(pair->slave));
    if (!pair->master.isOpen() || !pair->slave.isOpen())
        return std::nullopt;
    return pair;
}

bool PseudoTerminal::resize(const FileDescriptor& master, TerminalSize size) {
    const winsize window = windowSize(size);
    return ioctl(master.number(), TIOCSWINSZ, &window) == 0;
}

} // namespace pelorin
