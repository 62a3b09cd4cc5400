#include "BeaconryBase/ProcessFacts.h"

#include <cstdlib>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace pelorin {

std::optional<ProcessFacts> lookUpProcess(pid_t process) {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, process};
    kinfo_proc info{};
    std::size_t size = sizeof info;
    // A process that does not exist is no error here, but an answer of no bytes.
    if (sysctl(name, 4, &info, &size, nullptr, 0) != 0 || size == 0)
        return std::nullopt;
    ProcessFacts facts;
    facts.parent = info.kp_eproc.e_ppid;
    facts.session = getsid(process);
    const timeval& start = info.kp_proc.p_starttime;
    facts.startTime = static_cast<std::uint64_t>(start.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(start.tv_usec);
    if (info.kp_eproc.e_tdev != NODEV) {
        facts.terminalDevice = info.kp_eproc.e_tdev;
        // A device without a name is called "??".
        const char* device = devname(info.kp_eproc.e_tdev, S_IFCHR);
        if (device && *device != '?')
            facts.terminal = device;
    }
    return facts;
}

} // namespace pelorin
