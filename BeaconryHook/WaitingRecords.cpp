#include "BeaconryHook/WaitingRecords.h"

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"
#include "BeaconryBase/ProcessFacts.h"
#include "BeaconryBase/UserFolders.h"
#include "BeaconryBase/WholeNumber.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#ifdef __linux__
#include <sys/syscall.h>
#endif

namespace pelorin::hook {

namespace {

constexpr std::string_view namePrefix = "waiting-";
constexpr std::size_t recordLimit = 16384;
constexpr mode_t othersBits = 077;

// What the signal handler needs.
char ownRecordPath[PATH_MAX];

/// A helper by its process id, and by its start, which tells it from a later process with the same id.
struct Waiter {
    pid_t process = 0;
    std::uint64_t start = 0;
};

struct Record {
    ToolCall call;
    std::string origin;
    Waiter waiter;
};

std::string textOf(const Record& record) {
    std::string text =
        R"({"pid":)" + std::to_string(record.waiter.process) + R"(,"start":)" + std::to_string(record.waiter.start);
    const std::pair<std::string_view, std::string_view> texts[] = {{"session_id", record.call.session},
                                                                   {"agent_id", record.call.agent},
                                                                   {"tool_name", record.call.tool},
                                                                   {"input_digest", record.call.inputDigest},
                                                                   {"origin", record.origin}};
    for (const auto& [name, value] : texts) {
        text += ",\"";
        text += name;
        text += "\":";
        appendJsonString(text, value);
    }
    return text + "}\n";
}

std::optional<Record> readRecord(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen())
        return std::nullopt;
    static char buffer[recordLimit];
    struct stat status {};
    const bool isOurs = fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
    const ssize_t size = isOurs ? read(file.number(), buffer, sizeof buffer) : -1;
    const std::string_view text(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    if (ObjectScanner().feed(text) != ObjectScanner::Progress::complete)
        return std::nullopt;
    const auto textIn = [&](std::string_view name) {
        return decodedJsonString(jsonMember(text, name));
    };
    return Record{.call = {textIn("session_id"), textIn("agent_id"), textIn("tool_name"), textIn("input_digest")},
                  .origin = textIn("origin"),
                  .waiter = {wholeNumber<pid_t>(jsonMember(text, "pid")).value_or(0),
                             wholeNumber<std::uint64_t>(jsonMember(text, "start")).value_or(0)}};
}

bool isAlive(const Waiter& waiter) {
    if (waiter.process <= 0 || waiter.start == 0)
        return false;
    const auto facts = lookUpProcess(waiter.process);
    return facts && facts->startTime == waiter.start;
}

/// Ends the process that the waiter is, and no other that may have got its id by now.
void end(const Waiter& waiter) {
#if defined(__linux__) && defined(SYS_pidfd_open) && defined(SYS_pidfd_send_signal)
    // Through the descriptor the signal can only reach the process that is looked at behind its opening.
    const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, waiter.process, 0)));
    if (process.isOpen()) {
        if (isAlive(waiter))
            syscall(SYS_pidfd_send_signal, process.number(), SIGTERM, nullptr, 0);
        return;
    }
#endif
    if (isAlive(waiter))
        kill(waiter.process, SIGTERM);
}

bool isOwnDirectory(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & othersBits) == 0;
}

bool writeRecord(const std::string& path, const std::string& text) {
    unlink(path.c_str());
    const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return file.isOpen() && write(file.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool startedBefore(const Waiter& one, const Waiter& other) {
    return one.start != other.start ? one.start < other.start : one.process < other.process;
}

/// Goes through the records of helpers that are alive.
template <typename Visit>
void forEachRecord(const std::string& directory, Visit visit) {
    DIR* entries = opendir(directory.c_str());
    if (!entries)
        return;
    while (const dirent* entry = readdir(entries)) {
        if (!std::string_view(entry->d_name).starts_with(namePrefix))
            continue;
        const std::string path = directory + "/" + entry->d_name;
        const auto record = readRecord(path);
        if (record && isAlive(record->waiter))
            visit(*record);
        else if (record)
            unlink(path.c_str());
    }
    closedir(entries);
}

} // namespace

std::string recordDirectory(std::string_view runtimeDirectory, std::string_view temporaryDirectory) {
    std::string path;
    if (runtimeDirectory.starts_with('/')) {
        path = runtimeDirectory;
        path += "/pelorin";
    } else {
        path = folderFrom(temporaryDirectory, "/tmp");
        path += "/pelorin-" + std::to_string(geteuid());
    }
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return {};
    return isOwnDirectory(path) ? path : std::string();
}

Recording recordWaiting(const std::string& directory, const ToolCall& call, std::string_view origin) {
    const pid_t process = getpid();
    const auto facts = lookUpProcess(process);
    if (directory.empty() || !facts || facts->startTime == 0)
        return Recording::impossible;
    const std::string text = textOf({call, std::string(origin), {process, facts->startTime}});
    const std::string usual = directory + "/" + std::string(namePrefix) + call.key();
    const std::string own = usual + "." + std::to_string(process);
    if (text.size() > recordLimit || own.size() >= sizeof ownRecordPath)
        return Recording::impossible;
    std::memcpy(ownRecordPath, own.c_str(), own.size() + 1);
    if (!writeRecord(own, text))
        return Recording::impossible;
    // Two helpers with the same request ask for the same name, and only one gets it: that one waits. The record is
    // written before it is linked to the name, so nobody ever finds half a record there.
    while (link(own.c_str(), usual.c_str()) != 0) {
        if (errno != EEXIST)
            return Recording::kept;
        const auto first = readRecord(usual);
        if (first && isAlive(first->waiter)) {
            if (first->origin == origin)
                return Recording::kept;
            forgetRecord();
            return Recording::doubled;
        }
        if (unlink(usual.c_str()) != 0 && errno != ENOENT)
            return Recording::kept;
    }
    std::memcpy(ownRecordPath, usual.c_str(), usual.size() + 1);
    unlink(own.c_str());
    return Recording::kept;
}

void forgetRecord() {
    if (ownRecordPath[0] != '\0')
        unlink(ownRecordPath);
}

void endWaiting(const std::string& directory, const ToolCall& call, Ending ending) {
    if (directory.empty() || ending == Ending::none)
        return;
    std::optional<Waiter> first;
    forEachRecord(directory, [&](const Record& record) {
        if (record.call.session != call.session)
            return;
        switch (ending) {
        case Ending::none:
            return;
        case Ending::call:
            if (record.call == call && (!first || startedBefore(record.waiter, *first)))
                first = record.waiter;
            return;
        case Ending::ownCalls:
            if (record.call.agent.empty())
                end(record.waiter);
            return;
        case Ending::all:
            end(record.waiter);
            return;
        }
    });
    if (first)
        end(*first);
}

} // namespace pelorin::hook
