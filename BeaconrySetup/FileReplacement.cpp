#include "BeaconrySetup/FileReplacement.h"

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconryBase/MadeFolders.h"
#include "BeaconrySetup/LeftOvers.h"
#include "BeaconrySetup/OpenWriter.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#ifdef __APPLE__
#include <copyfile.h>
#else
#include <sys/xattr.h>
#endif

namespace pelorin::setup {

namespace {

constexpr int linkLimit = 40;
constexpr int attemptLimit = 50;
constexpr mode_t anyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t permissionBits = 07777;

using Failure = tl::unexpected<std::string>;

Failure failure(const std::string& path, const std::string& what) {
    return Failure(path + ": " + what);
}

Failure systemFailure(const std::string& path) {
    return failure(path, std::strerror(errno));
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool isThere(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

/// Where the links from a path lead to in the end, whether or not something stands there.
tl::expected<std::string, std::string> linkEnd(std::string path) {
    for (int count = 0; count < linkLimit; ++count) {
        char target[PATH_MAX];
        const ssize_t size = readlink(path.c_str(), target, sizeof target);
        if (size < 0)
            return path;
        const std::string_view text(target, static_cast<std::size_t>(size));
        path = text.starts_with('/') ? std::string(text) : folderOf(path) + "/" + std::string(text);
    }
    return failure(path, "the links lead in a circle");
}

std::vector<std::string> missingFolders(const std::string& path) {
    std::vector<std::string> missing;
    for (std::string folder = folderOf(path); !isThere(folder); folder = folderOf(folder)) {
        missing.push_back(folder);
        if (folder == folderOf(folder))
            break;
    }
    return missing;
}

tl::expected<std::string, std::string> readAll(const std::string& path, const FileDescriptor& file) {
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t count = read(file.number(), buffer, sizeof buffer);
        if (count == 0)
            return text;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemFailure(path);
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > fileSizeLimit)
            return failure(path, "the file is too large for settings");
    }
}

struct Found {
    FileState state;
    struct stat status = {};
};

/// `path` is at the end of all links.
tl::expected<Found, std::string> look(const std::string& path) {
    // A pipe must not hold this up.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) {
        if (errno == ENOENT)
            return Found{{std::nullopt, missingFolders(path).size()}};
        return systemFailure(path);
    }
    Found found;
    if (fstat(file.number(), &found.status) != 0)
        return systemFailure(path);
    if (!S_ISREG(found.status.st_mode))
        return failure(path, "is no file");
    auto text = readAll(path, file);
    if (!text)
        return Failure(std::move(text.error()));
    found.state.text = std::move(*text);
    return found;
}

tl::expected<void, std::string> checkWritable(const std::string& path, const Found& found) {
    if (!found.state.text)
        return {};
    // The superuser may write to a file that is read-only, and replacing one needs only a writable folder; but whoever
    // made it read-only meant it.
    const bool isDenied = access(path.c_str(), W_OK) != 0 && errno != ENOENT;
    if (isDenied || (found.status.st_mode & anyWrite) == 0)
        return failure(path, "the file is read-only");
    if (found.status.st_uid != geteuid() && geteuid() != 0)
        return failure(path, "the file belongs to another user");
    if (found.status.st_nlink > 1)
        return failure(path, "the file has a second name (a hard link), which writing it would cut off");
    return {};
}

/// Held until it goes out of scope. The lock is on the folder, so that no file of ours is left behind.
tl::expected<FileDescriptor, std::string> lockFolder(const std::string& folder) {
    FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen())
        return systemFailure(folder);
    while (flock(descriptor.number(), LOCK_EX) != 0) {
        // A file system without locks is no reason not to go on: nothing depends on the lock alone.
        if (errno != EINTR)
            break;
    }
    return descriptor;
}

void copyAttributes(const FileDescriptor& from, const FileDescriptor& to) {
#ifdef __APPLE__
    fcopyfile(from.number(), to.number(), nullptr, COPYFILE_XATTR | COPYFILE_ACL);
#else
    char names[4096];
    const ssize_t size = flistxattr(from.number(), names, sizeof names);
    for (ssize_t position = 0; position < size;) {
        const char* name = names + position;
        char value[4096];
        const ssize_t valueSize = fgetxattr(from.number(), name, value, sizeof value);
        if (valueSize >= 0)
            fsetxattr(to.number(), name, value, static_cast<std::size_t>(valueSize), 0);
        position += static_cast<ssize_t>(std::strlen(name)) + 1;
    }
#endif
}

bool writeAll(const FileDescriptor& file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(file.number(), text.data(), text.size());
        if (count > 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
            return false;
    }
    return fsync(file.number()) == 0;
}

mode_t modeOfNewFile() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// A file beside another one, which is removed again unless it has taken that one's place.
class SiblingFile {
public:
    explicit SiblingFile(const std::string& path) : m_path(siblingTemplate(folderOf(path))) {
        m_file = FileDescriptor(mkostemp(m_path.data(), O_CLOEXEC));
        m_isMade = m_file.isOpen();
    }
    ~SiblingFile() {
        if (m_isMade)
            unlink(m_path.c_str());
    }
    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    bool isMade() const { return m_isMade; }
    const std::string& path() const { return m_path; }

    /// Fills and closes it, as a successor of the file that `status` tells of, if there is one.
    bool fill(std::string_view text, const struct stat* status, const std::string& like) {
        const FileDescriptor file = std::move(m_file);
        if (!status)
            return fchmod(file.number(), modeOfNewFile()) == 0 && writeAll(file, text);
        struct stat own {};
        if (fstat(file.number(), &own) != 0)
            return false;
        const bool isSameOwner = own.st_uid == status->st_uid && own.st_gid == status->st_gid;
        if (!isSameOwner && fchown(file.number(), status->st_uid, status->st_gid) != 0)
            return false;
        if (fchmod(file.number(), status->st_mode & permissionBits) != 0)
            return false;
        copyAttributes(FileDescriptor(open(like.c_str(), O_RDONLY | O_CLOEXEC)), file);
        return writeAll(file, text);
    }

private:
    std::string m_path;
    FileDescriptor m_file;
    bool m_isMade = false;
};

/// Stopping half-way would leave the file beside.
class ScopedSignalBlock {
public:
    ScopedSignalBlock() {
        sigset_t stopping;
        sigemptyset(&stopping);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
            sigaddset(&stopping, signal);
        sigprocmask(SIG_BLOCK, &stopping, &m_before);
    }
    ~ScopedSignalBlock() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }
    ScopedSignalBlock(const ScopedSignalBlock&) = delete;
    ScopedSignalBlock& operator=(const ScopedSignalBlock&) = delete;

private:
    sigset_t m_before = {};
};

enum class Placing { done, changedMeanwhile, failed };

bool exchange(const std::string& one, const std::string& other) {
#ifdef __APPLE__
    return renamex_np(one.c_str(), other.c_str(), RENAME_SWAP) == 0;
#else
    return renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
#endif
}

bool holds(const std::string& path, std::string_view text) {
    const auto found = look(path);
    return found && found->state.text == text;
}

int furtherLooksFor(OpenWriter writer) {
    return writer == OpenWriter::present ? furtherLooks : fewFurtherLooks;
}

/// Whether a file that has no name for others any more holds the text, once those who had it open for writing before
/// have closed it. Somebody who keeps it open and writes nothing is not waited for for ever.
bool stillHolds(const std::string& path, std::string_view text, const Pause& pause) {
    for (int looks = 0; holds(path, text); ++looks) {
        const OpenWriter writer = openWriterOf(path);
        // A writer that has just closed the file may have written since it was read.
        if (writer == OpenWriter::none || looks >= furtherLooksFor(writer))
            return holds(path, text);
        pause();
    }
    return false;
}

/// For a system that can't let files change places: the old file gets a second name, under which it can be looked at
/// when the new one has taken its place.
Placing renameOver(const SiblingFile& sibling, const std::string& path, std::string_view expected, const Pause& pause) {
    const SiblingFile kept(path);
    const bool isKept =
        kept.isMade() && unlink(kept.path().c_str()) == 0 && link(path.c_str(), kept.path().c_str()) == 0;
    if (!holds(path, expected))
        return Placing::changedMeanwhile;
    if (rename(sibling.path().c_str(), path.c_str()) != 0)
        return Placing::failed;
    if (!isKept || stillHolds(kept.path(), expected, pause))
        return Placing::done;
    return rename(kept.path().c_str(), path.c_str()) == 0 ? Placing::changedMeanwhile : Placing::failed;
}

/// The two files change places at once. What has stood at the path can then be looked at at leisure: if it is not what
/// was expected, another program has written in the last moment, and its file goes back.
Placing exchangeWith(const SiblingFile& sibling, const std::string& path, std::string_view expected,
                     std::string_view text, const Pause& pause) {
    if (!holds(path, expected))
        return Placing::changedMeanwhile;
    if (!exchange(sibling.path(), path)) {
        if (errno == ENOENT)
            return Placing::changedMeanwhile;
        return renameOver(sibling, path, expected, pause);
    }
    if (stillHolds(sibling.path(), expected, pause))
        return Placing::done;
    if (exchange(sibling.path(), path) && !stillHolds(sibling.path(), text, pause))
        exchange(sibling.path(), path);
    return Placing::changedMeanwhile;
}

Placing placeNew(const SiblingFile& sibling, const std::string& path) {
    if (link(sibling.path().c_str(), path.c_str()) == 0)
        return Placing::done;
    return errno == EEXIST ? Placing::changedMeanwhile : Placing::failed;
}

/// Takes the file away and looks whether it was the expected one; if not, it goes back.
Placing takeAway(const std::string& path, std::string_view expected, const Pause& pause) {
    if (!holds(path, expected))
        return Placing::changedMeanwhile;
    const SiblingFile sibling(path);
    if (!sibling.isMade() || rename(path.c_str(), sibling.path().c_str()) != 0)
        return errno == ENOENT ? Placing::changedMeanwhile : Placing::failed;
    if (stillHolds(sibling.path(), expected, pause))
        return Placing::done;
    // Should there be a file again by now, that one is the newest.
    if (link(sibling.path().c_str(), path.c_str()) == 0 || errno == EEXIST)
        return Placing::changedMeanwhile;
    return rename(sibling.path().c_str(), path.c_str()) == 0 ? Placing::changedMeanwhile : Placing::failed;
}

bool makeFolders(const std::string& path) {
    const std::vector<std::string> missing = missingFolders(path);
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) {
        if (mkdir(folder->c_str(), 0777) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

bool keepCopy(const std::string& path, const Found& found, const std::string& like) {
    if (path.empty() || isThere(path))
        return true;
    SiblingFile sibling(path);
    return sibling.isMade() && sibling.fill(*found.state.text, &found.status, like) &&
           placeNew(sibling, path) != Placing::failed;
}

Placing place(const std::string& path, const Found& found, const DesiredFile& desired, const Pause& pause) {
    if (found.state.text && !keepCopy(desired.copyPath, found, path))
        return Placing::failed;
    if (!desired.text) {
        const Placing placing = takeAway(path, *found.state.text, pause);
        if (placing == Placing::done)
            removeEmptyFolders(path, desired.foldersToRemove);
        return placing;
    }
    SiblingFile sibling(path);
    if (!sibling.isMade() || !sibling.fill(*desired.text, found.state.text ? &found.status : nullptr, path))
        return Placing::failed;
    if (!found.state.text)
        return placeNew(sibling, path);
    return exchangeWith(sibling, path, *found.state.text, *desired.text, pause);
}

/// Looks until what is found makes sense, for a while; what is found in the end may still make none. That is told last
/// to `makesSense`, too.
tl::expected<Found, std::string>
lookForSense(const std::string& path, const std::function<bool(const FileState&)>& makesSense, const Pause& pause) {
    for (int looks = 0;; ++looks) {
        // Who closes the file after this has written what is read next.
        const OpenWriter writer = openWriterOf(path);
        auto found = look(path);
        const bool isFinal = !found || !found->state.text || looks >= furtherLooksFor(writer);
        const bool isEmptied = found && found->state.text == "";
        if ((found && (isFinal || !isEmptied) && makesSense(found->state)) || isFinal)
            return found;
        pause();
    }
}

} // namespace

void pauseAMoment() {
    const timespec moment{0, 10'000'000};
    nanosleep(&moment, nullptr);
}

tl::expected<FileState, std::string> readFile(const std::string& path) {
    const auto end = linkEnd(path);
    if (!end)
        return Failure(end.error());
    return look(*end).map([](Found found) { return std::move(found.state); });
}

tl::expected<FileState, std::string>
readFile(const std::string& path, const std::function<bool(const FileState&)>& makesSense, const Pause& pause) {
    const auto end = linkEnd(path);
    if (!end)
        return Failure(end.error());
    return lookForSense(*end, makesSense, pause).map([](Found found) { return std::move(found.state); });
}

tl::expected<FileChange, std::string> editFile(const std::string& path, const FileEdit& edit, const Pause& pause) {
    const auto end = linkEnd(path);
    if (!end)
        return Failure(end.error());
    for (const std::string& folder : {folderOf(*end), folderOf(path)})
        removeLeftOvers(folder);
    // The folders that are made here are not missing any more when the file is looked at again.
    std::size_t madeFolders = 0;
    for (int attempt = 0; attempt < attemptLimit; ++attempt) {
        if (const auto state = look(*end); state && !state->state.text && state->state.missingFolders > 0) {
            const auto desired = edit(state->state);
            if (!desired)
                return Failure(desired.error());
            if (!desired->text)
                return FileChange{state->state, std::nullopt};
            if (!makeFolders(*end))
                return systemFailure(folderOf(*end));
            madeFolders = state->state.missingFolders;
        }
        const auto lock = lockFolder(folderOf(*end));
        if (!lock)
            return Failure(lock.error());
        tl::expected<DesiredFile, std::string> desired;
        FileState state;
        const auto found = lookForSense(
            *end,
            [&](const FileState& present) {
                state = present;
                if (!state.text)
                    state.missingFolders = madeFolders;
                desired = edit(state);
                return desired.has_value();
            },
            pause);
        if (!found)
            return Failure(found.error());
        if (!desired)
            return Failure(desired.error());
        FileChange change{std::move(state), desired->text};
        if (!change.isChange())
            return change;
        if (const auto isWritable = checkWritable(*end, *found); !isWritable)
            return Failure(isWritable.error());
        const ScopedSignalBlock held;
        switch (place(*end, *found, *desired, pause)) {
        case Placing::done:
            fsync(lock->number());
            return change;
        case Placing::failed:
            return systemFailure(*end);
        case Placing::changedMeanwhile:
            break;
        }
    }
    return failure(*end, "another program changes the file all the time");
}

} // namespace pelorin::setup
