#include "BeaconryBase/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace pelorin {

namespace {

constexpr int firstAboveStandardStreams = 3;

} // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        reset();
        m_number = std::exchange(other.m_number, -1);
    }
    return *this;
}

void FileDescriptor::reset() {
    if (m_number >= 0)
        close(std::exchange(m_number, -1));
}

FileDescriptor FileDescriptor::duplicate() const {
    return FileDescriptor(fcntl(m_number, F_DUPFD_CLOEXEC, firstAboveStandardStreams));
}

FileDescriptor FileDescriptor::aboveStandardStreams(FileDescriptor descriptor) {
    return descriptor.number() >= firstAboveStandardStreams ? std::move(descriptor) : descriptor.duplicate();
}

std::optional<Pipe> Pipe::make() {
    int ends[2];
#if defined(__APPLE__)
    // This system cannot set the flag in one step; children close what they were not given anyway.
    if (pipe(ends) != 0)
        return std::nullopt;
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
#else
    if (pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
#endif
    Pipe pipe{FileDescriptor::aboveStandardStreams(FileDescriptor(ends[0])),
              FileDescriptor::aboveStandardStreams(FileDescriptor(ends[1]))};
    if (!pipe.readEnd.isOpen() || !pipe.writeEnd.isOpen())
        return std::nullopt;
    return pipe;
}

bool makeNonBlocking(const FileDescriptor& descriptor) {
    const int flags = fcntl(descriptor.number(), F_GETFL);
    return flags >= 0 && fcntl(descriptor.number(), F_SETFL, flags | O_NONBLOCK) == 0;
}

} // namespace pelorin
