#include "BeaconryHook/ObjectInput.h"

#include "BeaconryBase/ObjectScanner.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace pelorin::hook {

namespace {

// Waits first, since the descriptor may be one that blocks. 0 at the end of the stream, on an error and at the
// deadline.
std::size_t readSome(int descriptor, char* buffer, std::size_t size, const Deadline& deadline) {
    for (;;) {
        pollfd readiness{descriptor, POLLIN, 0};
        const int ready = poll(&readiness, 1, deadline.remainingMilliseconds());
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return 0;
        const ssize_t count = read(descriptor, buffer, size);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR && errno != EAGAIN)
            return 0;
    }
}

} // namespace

std::optional<std::string> readObject(int descriptor, const Deadline& deadline) {
    static char buffer[65536];
    std::string text;
    ObjectScanner scanner;
    while (const std::size_t count = readSome(descriptor, buffer, sizeof buffer, deadline)) {
        const std::size_t consumedBefore = scanner.consumed();
        const ObjectScanner::Progress progress = scanner.feed(std::string_view(buffer, count));
        if (progress == ObjectScanner::Progress::malformed)
            return std::nullopt;
        // What is too large is still read to its end, though not kept: a CLI may take a reader that leaves in the midst
        // of its payload for a failed hook.
        if (scanner.consumed() <= payloadLimit)
            text.append(buffer, scanner.consumed() - consumedBefore);
        if (progress == ObjectScanner::Progress::complete) {
            if (scanner.consumed() > payloadLimit)
                return std::nullopt;
            text.erase(0, text.find('{'));
            return text;
        }
    }
    return std::nullopt;
}

} // namespace pelorin::hook
