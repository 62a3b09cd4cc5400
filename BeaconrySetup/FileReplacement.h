#pragma once

#include <tl/expected.hpp>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin::setup {

// Changes a file that other programs change, too, and that belongs to somebody else. Errors are in words for the user,
// which begin with the file's path.

/// A file above this many bytes is no settings file.
inline constexpr std::size_t fileSizeLimit = 16UL * 1024 * 1024;

/// What stands at a path.
struct FileState {
    /// Nothing when there is no file.
    std::optional<std::string> text;
    /// Without a file: how many folders above it are not there either.
    std::size_t missingFolders = 0;

    bool operator==(const FileState&) const = default;
};

/// What is to stand at a path.
struct DesiredFile {
    /// The file's text. Nothing removes the file.
    std::optional<std::string> text;
    /// How many of the folders above a removed file go with it. Only empty folders go.
    std::size_t foldersToRemove = 0;
    /// The old file is copied here first, with its mode and owner. A file that exists here already is kept. Empty for
    /// no copy.
    std::string copyPath = {};
};

/// Makes the desired file out of what stands at the path. It is called again when another program changes that
/// meanwhile.
using FileEdit = std::function<tl::expected<DesiredFile, std::string>(const FileState& state)>;

/// What an edit has come to.
struct FileChange {
    FileState before;
    std::optional<std::string> after;

    bool isChange() const { return before.text != after; }
};

/// Waits for the moment between two looks at a file that another program may be writing.
using Pause = std::function<void()>;

/// A hundredth of a second.
void pauseAMoment();

/// How often a file is looked at again that another program has open for writing: a second's worth of moments.
inline constexpr int furtherLooks = 100;

/// How often when nobody has, or when the system does not tell.
inline constexpr int fewFurtherLooks = 20;

/// Reads what stands at the path, at the end of all links.
tl::expected<FileState, std::string> readFile(const std::string& path);

/// Reads what stands at the path, and looks again for a while as long as that is an emptied file or does not make
/// sense: many programs empty a file and then write it.
tl::expected<FileState, std::string> readFile(const std::string& path,
                                              const std::function<bool(const FileState& state)>& makesSense,
                                              const Pause& pause = pauseAMoment);

/// Writes what the edit wants, at the end of all links. The new text is written beside the file and then takes its
/// place, so that nobody ever reads half a file. Owner, mode and extended attributes are kept. Missing folders are
/// made. A lock on the folder lets one user of this function work at a time. When another program writes meanwhile, the
/// edit is made again upon what that has written. A file that has been emptied, and one that the edit refuses, is
/// looked at again for a while; and the replaced file is let go only once nobody writes it any more. Nothing is written
/// when the edit changes nothing. Files that a killed run has left in the folder are removed.
tl::expected<FileChange, std::string> editFile(const std::string& path, const FileEdit& edit,
                                               const Pause& pause = pauseAMoment);

} // namespace pelorin::setup
