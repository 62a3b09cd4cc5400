#include "BeaconryKit/relay/ReservedName.h"

#include "BeaconryKit/sessions/RelayDefaults.h"

#include <QUrl>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

TEST(ReservedName, NamesNoMachine) {
    for (const char* host : {"example", "relay.example", "relay.your-name.example", "Relay.EXAMPLE", "relay.example.",
                             "invalid", "relay.invalid"})
        EXPECT_TRUE(isReservedName(host)) << host;
}

TEST(ReservedName, OtherNamesMay) {
    for (const char* host : {"", ".", "example.org", "example.com", "relay.test", "localhost", "relay.localhost",
                             "anexample", "127.0.0.1", "::1", "relay.example.net", "invalid.de"})
        EXPECT_FALSE(isReservedName(host)) << host;
}

TEST(ReservedName, TheBuiltInRelayIsOne) {
    EXPECT_TRUE(isReservedName(QUrl(RelayDefaults::url()).host()));
}

} // namespace
} // namespace pelorin
