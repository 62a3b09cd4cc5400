#include "BeaconryHook/ShownRecord.h"

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconryBase/Sha256.h"

#include <fcntl.h>
#include <unistd.h>

namespace pelorin::hook {

namespace {

std::string pathOf(const std::string& directory, std::string_view session) {
    return directory + "/shown-" + sha256(session);
}

std::string ownText() {
    return std::to_string(getpid()) + "\n";
}

} // namespace

void recordShown(const std::string& directory, std::string_view session) {
    if (directory.empty())
        return;
    const FileDescriptor file(
        open(pathOf(directory, session).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    const std::string text = ownText();
    if (file.isOpen() && write(file.number(), text.data(), text.size()) < 0)
        forgetShown(directory, session);
}

bool isShown(const std::string& directory, std::string_view session) {
    return !directory.empty() && access(pathOf(directory, session).c_str(), F_OK) == 0;
}

bool isShownByThis(const std::string& directory, std::string_view session) {
    if (directory.empty())
        return false;
    const FileDescriptor file(open(pathOf(directory, session).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    char buffer[32];
    const ssize_t size = file.isOpen() ? read(file.number(), buffer, sizeof buffer) : -1;
    return size > 0 && std::string_view(buffer, static_cast<std::size_t>(size)) == ownText();
}

void forgetShown(const std::string& directory, std::string_view session) {
    if (!directory.empty())
        unlink(pathOf(directory, session).c_str());
}

} // namespace pelorin::hook
