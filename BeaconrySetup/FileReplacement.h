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

/// What is to stand there. Without text there is to be no file; that many folders above it go with it, if they are
/// empty then.
struct DesiredFile {
    std::optional<std::string> text;
    std::size_t foldersToRemove = 0;
    /// Where to keep what stands there now, with the same mode and owner, unless a file stands there already. Empty for
    /// nowhere.
    std::string copyPath = {};
};

/// Decides, from what stands at the path, what is to stand there. Called again when that changes meanwhile.
using FileEdit = std::function<tl::expected<DesiredFile, std::string>(const FileState& state)>;

/// What an edit has come to.
struct FileChange {
    FileState before;
    std::optional<std::string> after;

    bool isChange() const { return before.text != after; }
};

/// Reads what stands at the path, at the end of all links.
tl::expected<FileState, std::string> readFile(const std::string& path);

/// Writes what the edit wants, at the end of all links: beside the file, and then in its place, so that nobody ever
/// reads half a file. Keeps owner, mode and extended attributes. Missing folders are made. Among those who use this,
/// one at a time works on the files of a folder. What another program writes meanwhile is not lost: the edit is then
/// made again, upon that. Nothing is written when the edit changes nothing.
tl::expected<FileChange, std::string> editFile(const std::string& path, const FileEdit& edit);

} // namespace pelorin::setup
