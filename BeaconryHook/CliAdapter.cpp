#include "BeaconryHook/CliAdapter.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/Adapters.h"

namespace pelorin::hook {

namespace {

constexpr const CliAdapter* adapters[] = {&claudeAdapter, &codexAdapter, &geminiAdapter, &opencodeAdapter,
                                          &cursorAdapter};

} // namespace

const CliAdapter* adapterFor(std::string_view source) {
    for (const CliAdapter* adapter : adapters) {
        if (adapter->source == source)
            return adapter;
    }
    return nullptr;
}

const CliAdapter* composerOf(std::string_view object, const CliAdapter* called) {
    // Cursor can be set to run the hooks of Claude Code, which has no conversations.
    if (called == &claudeAdapter && !jsonMember(object, "conversation_id").empty())
        return &cursorAdapter;
    return called;
}

Payload readPayload(std::string_view object, const CliAdapter* composer, PayloadTexts& texts) {
    Payload payload = readPayload(object);
    if (composer && composer->translate)
        composer->translate(object, payload, texts);
    return payload;
}

} // namespace pelorin::hook
