#include "BeaconrySetup/OpenWriter.h"

#include "BeaconryBase/FileDescriptor.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>

namespace pelorin::setup {

#ifdef __linux__

// The system grants the lease of a reader only as long as nobody has the file open for writing.
OpenWriter openWriterOf(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen())
        return OpenWriter::unknown;
    // Who opens the file just now has us told by a signal. The usual one would end the program; this one is ignored.
    fcntl(file.number(), F_SETSIG, SIGURG);
    if (fcntl(file.number(), F_SETLEASE, F_RDLCK) != 0)
        return errno == EAGAIN ? OpenWriter::present : OpenWriter::unknown;
    fcntl(file.number(), F_SETLEASE, F_UNLCK);
    return OpenWriter::none;
}

#else

OpenWriter openWriterOf(const std::string&) {
    return OpenWriter::unknown;
}

#endif

} // namespace pelorin::setup
