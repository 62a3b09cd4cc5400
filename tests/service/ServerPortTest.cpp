#include "BeaconryKit/service/ServerPort.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

TEST(ServerPort, ReadsAWholeDecimalNumberOfSixteenBits) {
    EXPECT_STREQ(serverPortVariable, "BEACONRY_PORT");
    const std::pair<const char*, int> rows[] = {
        {"", 45789},    {"abc", 45789},   {"70000", 45789}, {"65536", 45789}, {"-5", 45789},
        {"+", 45789},   {"-", 45789},     {"+-0", 45789},   {"12a", 45789},   {" 80", 45789},
        {"80 ", 45789}, {"0x50", 45789},  {"٣", 45789},     {"1.0", 45789},   {"99999999999999999999", 45789},
        {"-01", 45789}, {"+8080", 8080},  {"8080", 8080},   {"-0", 0},        {"-000", 0},
        {"0", 0},       {"65535", 65535}, {"00080", 80},    {"1", 1},
    };
    for (const auto& [value, port] : rows)
        EXPECT_EQ(serverPort(value), port) << value;
}

} // namespace
} // namespace pelorin
