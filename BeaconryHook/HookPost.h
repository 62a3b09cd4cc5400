#pragma once

#include "BeaconryHook/CliAdapter.h"
#include "BeaconryHook/HookCall.h"
#include "BeaconryHook/Payload.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin::hook {

/// The application drops requests of more bytes than this without a reply.
inline constexpr std::size_t requestLimit = 1'000'000;

/// What one call of the helper sends to the application.
struct HookPost {
    enum class Reply {
        /// Nobody waits for it.
        ignored,
        /// It bears the decision that the CLI is waiting for.
        awaited
    };

    std::string request;
    Reply reply = Reply::ignored;
};

/// Plans the call's one post. A long message or tool input loses its middle, so that the application takes the request;
/// nothing when it would not take it all the same. `adapter` is that of the CLI that has composed the payload, or null.
/// `requestId` is used for a permission request only, `start` for the start of a session only.
std::optional<HookPost> planPost(const HookCall& call, const CliAdapter* adapter, const Payload& payload,
                                 const HookEnvironment& environment, std::string_view requestId,
                                 const SessionStart& start);

} // namespace pelorin::hook
