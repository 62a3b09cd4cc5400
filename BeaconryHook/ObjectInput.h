#pragma once

#include "BeaconryHook/Deadline.h"

#include <cstddef>
#include <optional>
#include <string>

namespace pelorin::hook {

/// A payload of more bytes than this is not taken.
inline constexpr std::size_t payloadLimit = 16'000'000;

/// Reads one JSON object from the descriptor, up to its last byte: whoever writes it need not end the stream. Nothing
/// when there is no complete object of at most `payloadLimit` bytes, white space before it counted, by the deadline.
std::optional<std::string> readObject(int descriptor, const Deadline& deadline);

} // namespace pelorin::hook
