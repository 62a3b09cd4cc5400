#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

namespace pelorin {

/// A user of this machine who is neither root nor the test's own.
inline constexpr uid_t otherUser = 54321;

/// Only root can be somebody else.
inline bool canBeOtherUser() {
    return geteuid() == 0;
}

/// As long as this lives, the sockets that this thread makes and accepts belong to the other user.
class AsOtherUser {
public:
    AsOtherUser() : m_before(static_cast<uid_t>(setfsuid(otherUser))) {}
    ~AsOtherUser() { setfsuid(m_before); }
    AsOtherUser(const AsOtherUser&) = delete;
    AsOtherUser& operator=(const AsOtherUser&) = delete;

private:
    uid_t m_before;
};

} // namespace pelorin
