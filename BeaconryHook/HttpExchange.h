#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin::hook {

/// What the application has decided about a permission request.
enum class Decision {
    allow,
    deny,
    /// The CLI is to ask at its own prompt. Whatever can't be understood means this too.
    ask
};

/// Whether more bytes of a reply may come.
enum class Connection { open, ended };

/// A reply that grows beyond this many bytes is none of the application's.
inline constexpr std::size_t replyLimit = 65536;

/// What an HTTP reply decides, from the bytes received so far; nothing while the rest of it may still change that. A
/// reply that is cut short, or that is not wholly well-formed, never allows or denies.
std::optional<Decision> decisionIn(std::string_view reply, Connection connection);

/// An HTTP request for the application's status.
inline constexpr std::string_view statusRequest =
    "GET /status HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";

/// An HTTP request that posts the JSON body to the application.
std::string composeRequest(std::string_view path, std::string_view body);

} // namespace pelorin::hook
