#include "BeaconryHook/ProcessTerminal.h"

#include <fcntl.h>
#include <unistd.h>

namespace pelorin::hook {

std::optional<ProcessFacts> lookUpProcess(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    // The kernel hands out the whole line at once; what is wanted stands near its beginning.
    char buffer[512];
    const ssize_t size = read(descriptor, buffer, sizeof buffer);
    close(descriptor);
    if (size <= 0)
        return std::nullopt;
    return parseProcessStat(std::string_view(buffer, static_cast<std::size_t>(size)));
}

} // namespace pelorin::hook
