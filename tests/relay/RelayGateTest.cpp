#include "BeaconryKit/relay/RelayGate.h"

#include "tests/support/MemoryUserDefaults.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace pelorin {
namespace {

TEST(RelayGate, HoldsNothingUntilItIsRefreshed) {
    const RelayGate gate;
    EXPECT_EQ(gate.pollConfig(), std::nullopt);
    EXPECT_EQ(gate.termConfig(), std::nullopt);
}

TEST(RelayGate, HoldsWhatTheLastRefreshSaw) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    RelayGate gate;
    const auto refresh = [&] {
        gate.refresh(settings);
        return std::pair(gate.pollConfig(), gate.termConfig());
    };
    const auto nothing = std::optional<RelayConfig>();
    settings.setRelayURL(" https://relay.test ");
    settings.setPhoneTerminalEnabled(true);
    EXPECT_EQ(refresh(), std::pair(nothing, nothing)) << "There is no token.";
    settings.setRelayToken(" tok");
    EXPECT_EQ(gate.pollConfig(), nothing) << "Not before the refresh.";
    const std::optional config = RelayConfig{" https://relay.test ", " tok"};
    EXPECT_EQ(refresh(), std::pair(config, config));
    settings.setPhoneTerminalEnabled(false);
    EXPECT_EQ(refresh(), std::pair(config, nothing));
    settings.setRelayURL("\t");
    EXPECT_EQ(refresh(), std::pair(nothing, nothing));
}

TEST(RelayGate, IsReadWholeWhileItIsRefreshed) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    settings.setPhoneTerminalEnabled(true);
    RelayGate gate;
    std::atomic<bool> stopping = false;
    std::atomic<int> torn = 0;
    std::atomic<int> reads = 0;
    std::thread reader([&] {
        while (!stopping) {
            for (const auto& config : {gate.pollConfig(), gate.termConfig()}) {
                if (config && config->url != config->token)
                    ++torn;
            }
            ++reads;
        }
    });
    for (int round = 0; round < 500 || reads < 100; ++round) {
        const QString both = QString::number(round);
        settings.setRelayURL(both);
        settings.setRelayToken(both);
        gate.refresh(settings);
    }
    stopping = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

} // namespace
} // namespace pelorin
