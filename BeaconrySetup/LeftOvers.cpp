#include "BeaconrySetup/LeftOvers.h"

#include "BeaconryBase/FileDescriptor.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pelorin::setup {

namespace {

constexpr std::string_view start = ".pelorin-";
constexpr std::string_view placeholder = "XXXXXX";

bool isSiblingName(std::string_view name) {
    const auto isLetterOrDigit = [](char sign) {
        return (sign >= '0' && sign <= '9') || (sign >= 'A' && sign <= 'Z') || (sign >= 'a' && sign <= 'z');
    };
    return name.starts_with(start) && name.size() == start.size() + placeholder.size() &&
           std::ranges::all_of(name.substr(start.size()), isLetterOrDigit);
}

} // namespace

std::string siblingTemplate(const std::string& folder) {
    return (folder + "/").append(start).append(placeholder);
}

void removeLeftOvers(const std::string& folder) {
    const FileDescriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.isOpen() || flock(lock.number(), LOCK_EX | LOCK_NB) != 0)
        return;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    if (!entries)
        return;
    while (const dirent* const entry = readdir(entries.get())) {
        const int directory = dirfd(entries.get());
        struct stat status {};
        if (isSiblingName(entry->d_name) && fstatat(directory, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode) && status.st_uid == geteuid())
            unlinkat(directory, entry->d_name, 0);
    }
}

} // namespace pelorin::setup
