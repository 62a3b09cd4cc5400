#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace pelorin::bench {

/// A program that runs beside the benchmark, with a home folder of its own, and is ended with this object.
class Program {
public:
    /// Starts the program; `environment` (NAME=VALUE) is all that it gets besides PATH, the private
    /// home and a proxy that keeps it from other machines.
    explicit Program(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Bytes of memory that it has resident.
    long residentBytes() const;

    /// How many descriptors it has open.
    long openDescriptors() const;

    /// How often its threads have gone to sleep so far, all together: each time one had been woken for something.
    long sleeps() const;

    /// Processor time that it has used so far, in clock ticks.
    long processorTicks() const;

private:
    std::string m_home;
    pid_t m_process = -1;
};

} // namespace pelorin::bench
