#include "BeaconryBase/ServicePort.h"

#include "BeaconryKit/service/ServerPort.h"

#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

TEST(ServicePort, IsReadAsTheApplicationReadsIt) {
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
    for (const auto& [text, port] : table) {
        EXPECT_EQ(servicePort(text), port) << text;
        EXPECT_EQ(serverPort(QByteArrayView(text.data(), static_cast<qsizetype>(text.size()))), port) << text;
    }
    EXPECT_EQ(defaultServicePort, defaultServerPort);
}

} // namespace
} // namespace pelorin::hook
