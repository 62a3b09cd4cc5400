#include "BeaconryHook/SessionRecord.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/inotify.h>
#endif

namespace pelorin::hook {

namespace {

// A line that is longer is no use of a tool that anybody could read. What is left of it counts as a line of its own.
constexpr std::size_t lineLimit = 4'000'000;

/// Watched before anything is read: what is written meanwhile is told.
FileDescriptor watchForWrites(const std::string& path) {
#ifdef __linux__
    FileDescriptor changes(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (changes.isOpen() && inotify_add_watch(changes.number(), path.c_str(), IN_MODIFY) >= 0)
        return changes;
#else
    static_cast<void>(path);
#endif
    return {};
}

} // namespace

SessionRecord::SessionRecord(const std::string& path, std::size_t tail) {
    if (path.empty())
        return;
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    m_changes = watchForWrites(path);
    m_file = std::move(file);
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > tail) {
        m_isInFirstLine = true;
        lseek(m_file.number(), static_cast<off_t>(size - tail), SEEK_SET);
    }
}

std::string SessionRecord::readLines() {
    static char buffer[65536];
    if (m_changes.isOpen()) {
        while (read(m_changes.number(), buffer, sizeof buffer) > 0)
            continue;
    }
    std::string text = std::move(m_rest);
    m_rest.clear();
    if (!m_file.isOpen())
        return text;
    for (;;) {
        const ssize_t count = read(m_file.number(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    const std::size_t end = text.rfind('\n') + 1;
    if (text.size() - end <= lineLimit)
        m_rest = text.substr(end);
    text.erase(end);
    if (m_isInFirstLine && !text.empty()) {
        text.erase(0, text.find('\n') + 1);
        m_isInFirstLine = false;
    }
    return text;
}

} // namespace pelorin::hook
