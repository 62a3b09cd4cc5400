#pragma once

#include "BeaconrySetup/HookPlan.h"

#include <string>
#include <vector>

namespace pelorin::setup {

/// A settings file such as users have.
struct SettingsSample {
    std::string name;
    std::string text;
};

/// Files that hooks can be put into.
std::vector<SettingsSample> editableSettings();

/// Files that are to be left as they are, with what is said about why.
struct RefusedSample {
    std::string name;
    std::string text;
    std::string fault;
};
std::vector<RefusedSample> refusedSettings();

/// Two hooks in the manner of Claude Code.
HookPlan samplePlan();

/// Two hooks in the manner of Cursor.
HookPlan flatPlan();

/// The plans of the CLIs that run the adapters' script, with all that they can hold.
std::vector<HookPlan> adapterPlans();

} // namespace pelorin::setup
