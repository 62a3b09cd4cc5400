#include "BeaconryBase/ServicePort.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

TEST(ServicePort, ReadsAWholeDecimalNumberOfSixteenBits) {
    const std::pair<std::string_view, std::uint16_t> table[] = {
        {"", 45789},
        {"0", 0},
        {"1", 1},
        {"45790", 45790},
        {"65535", 65535},
        {"65536", 45789},
        {"70000", 45789},
        {"+8080", 8080},
        {"++8080", 45789},
        {"+", 45789},
        {"-", 45789},
        {"-0", 0},
        {"-00", 0},
        {"-1", 45789},
        {"-+0", 45789},
        {"+-0", 45789},
        {"-5", 45789},
        {"-01", 45789},
        {"-000", 0},
        {"12a", 45789},
        {"8080", 8080},
        {"00080", 80},
        {"0000080", 80},
        {" 80", 45789},
        {"80 ", 45789},
        {"80\n", 45789},
        {"8o80", 45789},
        {"0x50", 45789},
        {"abc", 45789},
        {"1e3", 45789},
        {"80.0", 45789},
        {"4294967376", 45789},
        {"\xd9\xa1", 45789},
        {"18446744073709551617", 45789},
        {"00000000000000000000000000000000000080", 80},
    };
    for (const auto& [text, port] : table)
        EXPECT_EQ(servicePort(text), port) << text;
}

TEST(ServicePort, IsNamedByItsVariable) {
    EXPECT_STREQ(servicePortVariable, "BEACONRY_PORT");
}

} // namespace
} // namespace pelorin
