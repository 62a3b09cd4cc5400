#include "BeaconryHook/StandingDialog.h"

#include <cerrno>
#include <csignal>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace pelorin::hook {

namespace {

// What the signal handler needs.
int writeEnd = -1;

void passOn(int) {
    const int error = errno;
    const char byte = 0;
    static_cast<void>(!write(writeEnd, &byte, 1));
    errno = error;
}

} // namespace

EndSignals::EndSignals() {
    auto pipe = Pipe::make();
    if (!pipe)
        return;
    static FileDescriptor keptOpen;
    keptOpen = std::move(pipe->writeEnd);
    writeEnd = keptOpen.number();
    m_readEnd = std::move(pipe->readEnd);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, passOn);
}

DialogEnd awaitEndOfDialog(const EndSignals& signals, DialogWatch& watch, int answerDescriptor,
                           const Deadline& deadline) {
    while (!watch.isAnswered()) {
        // Nothing is asked of the answer's descriptor; that its reader has gone is reported all the same.
        pollfd readiness[] = {
            {signals.descriptor(), POLLIN, 0}, {answerDescriptor, 0, 0}, {watch.changes(), POLLIN, 0}};
        const int ready = poll(readiness, 3, deadline.remainingMilliseconds());
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return DialogEnd::unknown;
        if (readiness[0].revents != 0 || readiness[1].revents != 0)
            return DialogEnd::gone;
    }
    return DialogEnd::gone;
}

} // namespace pelorin::hook
