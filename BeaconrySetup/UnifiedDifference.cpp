#include "BeaconrySetup/UnifiedDifference.h"

#include "BeaconryBase/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin::setup {

namespace {

constexpr int differentStatus = 1;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, CloseFile>;

/// A file without a name, which child processes inherit; null when there can be none.
TemporaryFile fileHolding(std::string_view text) {
    TemporaryFile file(std::tmpfile());
    if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size())
        return nullptr;
    // Some systems hand on the position together with the descriptor.
    std::rewind(file.get());
    return file;
}

std::string pathOf(const TemporaryFile& file) {
    return "/dev/fd/" + std::to_string(fileno(file.get()));
}

std::string allOf(const FileDescriptor& output) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(output.number(), buffer, sizeof buffer);
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
            return text;
    }
}

int exitStatusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// What the program prints when it finds differences; nothing when it is missing or fails.
std::optional<std::string> differencesShownBy(const char* const* command) {
    auto output = Pipe::make();
    if (!output)
        return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output->writeEnd.number(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error = posix_spawnp(&process, command[0], &actions, nullptr, const_cast<char* const*>(command), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return std::nullopt;
    output->writeEnd.reset();
    std::string text = allOf(output->readEnd);
    if (exitStatusOf(process) != differentStatus)
        return std::nullopt;
    return text;
}

} // namespace

std::string unifiedDifference(const std::string& path, const std::optional<std::string>& before,
                              const std::optional<std::string>& after) {
    const TemporaryFile old = fileHolding(before.value_or(std::string()));
    const TemporaryFile now = fileHolding(after.value_or(std::string()));
    if (old && now) {
        const std::string nowhere = "/dev/null";
        const std::string oldPath = pathOf(old);
        const std::string nowPath = pathOf(now);
        const char* command[] = {"diff",
                                 "-u",
                                 "-L",
                                 (before ? path : nowhere).c_str(),
                                 "-L",
                                 (after ? path : nowhere).c_str(),
                                 oldPath.c_str(),
                                 nowPath.c_str(),
                                 nullptr};
        if (auto text = differencesShownBy(command))
            return std::move(*text);
    }
    return "The lines can't be shown: the program diff is missing, or has failed.\n";
}

} // namespace pelorin::setup
