#include "BeaconryBase/JsonText.h"
#include "BeaconrySetup/SettingsEdit.h"
#include "BeaconrySetup/StrictJson.h"

#include <cstdint>
#include <cstdlib>

// Whatever stands in a settings file: what is put in is plain JSON again, is found again, is put in only once, and is
// taken out without a trace; and what is not ours is never touched.

namespace {

using namespace pelorin;
using namespace pelorin::setup;

const HookPlan plans[] = {
    {.entries = {{"Stop", guardedCommand("/p/hooks/claude-clear-hook.sh"), {}, {{"async", "true"}}},
                 {"Start", guardedCommand("/p/hooks/claude-register-hook.sh"), "Bash", {}}},
     .hooksDirectory = "/p/hooks"},
    {.layout = HookLayout::flat,
     .companions = {{"version", "1"}},
     .entries = {{"Stop", guardedCommand("/p/hooks/adapters/cli-hook.sh", "cursor clear")}},
     .hooksDirectory = "/p/hooks"},
};

void require(bool isSo) {
    if (!isSo)
        std::abort();
}

/// The members beside the hooks stand in the result as they stood, and in their order.
void requireMembers(const std::string& before, const std::string& after) {
    std::size_t position = 0;
    JsonMemberReader members(std::string_view(before).substr(before.find('{')));
    while (const auto member = members.next()) {
        if (jsonStringEquals(member->name, "hooks"))
            continue;
        const std::string_view text(
            member->name.data(),
            static_cast<std::size_t>(member->value.data() + member->value.size() - member->name.data()));
        position = after.find(text, position);
        require(position != std::string::npos);
        position += text.size();
    }
}

void check(const SettingsImage& image, const HookPlan& plan, Original original) {
    const auto state = hookState(image, plan);
    const auto with = withHooks(image, plan, original);
    const auto without = withoutHooks(image, plan, original);
    require(state.has_value() == without.has_value());
    if (!state) {
        require(!with);
        return;
    }
    require(hookState(*without, plan) == HookState::absent);
    if (without->text && image.text && !faultOf(*image.text))
        requireMembers(*image.text, *without->text);
    if (*state == HookState::absent)
        require(*without == image);
    if (!with)
        return;
    require(with->text && !faultOf(*with->text));
    require(hookState(*with, plan) == HookState::current);
    require(withHooks(*with, plan, original) == *with);
    if (image.text && !faultOf(*image.text) && without->text)
        requireMembers(*image.text, *with->text);
    // The user may have narrowed hooks of ours that are as they should be; those are left, and can't be told when gone.
    if (*state != HookState::current)
        require(withoutHooks(*with, plan, original) == *without);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const HookPlan& plan = plans[data[0] & 1];
    const Original original = (data[0] & 2) != 0 ? Original::kept : Original::unknown;
    check({std::string(reinterpret_cast<const char*>(data) + 1, size - 1), 0}, plan, original);
    check({std::nullopt, data[0] / 4U}, plan, original);
    return 0;
}
