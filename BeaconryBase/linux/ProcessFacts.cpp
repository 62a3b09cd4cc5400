#include "BeaconryBase/ProcessFacts.h"

#include "BeaconryBase/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace pelorin {

std::optional<ProcessFacts> lookUpProcess(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return std::nullopt;
    // The kernel hands out the whole line at once; what is wanted stands near its beginning.
    char buffer[512];
    const ssize_t size = read(file.number(), buffer, sizeof buffer);
    if (size <= 0)
        return std::nullopt;
    return parseProcessStat(std::string_view(buffer, static_cast<std::size_t>(size)));
}

} // namespace pelorin
