#include "BeaconryBase/MadeFolders.h"

#include <unistd.h>

namespace pelorin {

std::size_t madeFolders(std::string_view text) {
    const std::size_t lastSign = text.find_last_not_of('\n');
    const std::size_t lineEnds = text.size() - (lastSign == std::string_view::npos ? 0 : lastSign + 1);
    return lineEnds == 0 ? 0 : lineEnds - 1;
}

void removeEmptyFolders(const std::string& path, std::size_t count) {
    std::string folder = path;
    for (; count > 0; --count) {
        folder.resize(folder.find_last_of('/') == std::string::npos ? 0 : folder.find_last_of('/'));
        if (folder.empty() || rmdir(folder.c_str()) != 0)
            return;
    }
}

} // namespace pelorin
