#pragma once

#include "BeaconrySetup/HookPlan.h"

#include <tl/expected.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin::setup {

// Edits the text of a settings file that belongs to somebody else. Foreign text stays as it stands, byte for byte. Our
// additions are taken out again without a trace. Their layout tells what has to be remembered for that, so that no
// second file has to be kept in step:
//
// - a list or object that was there before us, and empty, gets a blank line before what is put into it;
// - a file that was not there, or held nothing but white space, gets blank lines at its end, one more for every folder
//   that had to be made for it.

/// What stands at a path, or is to stand there.
struct SettingsImage {
    /// Nothing when there is no file.
    std::optional<std::string> text;
    /// Without a file: how many folders above it are not there either, or are to go with it.
    std::size_t missingFolders = 0;

    bool operator==(const SettingsImage&) const = default;
};

/// Why a file is not edited, in words that continue "…, since ".
using Refusal = std::string;

/// Whether there is a copy of the file as it was before us.
enum class Original { unknown, kept };

enum class HookState {
    absent,
    /// Some hooks are missing, doubled, in the wrong place or of another version.
    damaged,
    current
};

/// How much of the plan the file holds.
tl::expected<HookState, Refusal> hookState(const SettingsImage& image, const HookPlan& plan);

/// Whether the file has a hook of ours, of whatever version, at the event. False when it can't be read.
bool hasHookAt(const SettingsImage& image, const HookPlan& plan, std::string_view event);

/// The file with exactly the plan's hooks of ours. A file that holds them already stays as it is.
tl::expected<SettingsImage, Refusal> withHooks(const SettingsImage& image, const HookPlan& plan, Original original);

/// The file without any hook of ours. Without a mark that tells, a file that holds nothing else then has been made by
/// us if there is no original of it.
tl::expected<SettingsImage, Refusal> withoutHooks(const SettingsImage& image, const HookPlan& plan, Original original);

/// What a user would have to write into the file by hand.
std::string linesToAdd(const HookPlan& plan);

} // namespace pelorin::setup
