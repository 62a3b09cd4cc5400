#include "BeaconrySetup/StrictJson.h"

#include "tests/hook-setup/SettingsFiles.h"

#include <QByteArray>
#include <QJsonDocument>
#include <gmock/gmock.h>

namespace pelorin::setup {
namespace {

TEST(FaultOf, FindsNoneInPlainJson) {
    for (const SettingsSample& sample : editableSettings()) {
        const bool isEmpty = sample.text.find('{') == std::string::npos;
        EXPECT_EQ(faultOf(sample.text), isEmpty ? std::optional<std::string>("it holds nothing") : std::nullopt)
            << sample.name;
    }
}

TEST(FaultOf, SaysWhatIsWrong) {
    for (const RefusedSample& sample : refusedSettings()) {
        // What is wrong with the hooks alone is no fault of the text.
        const bool isOfHooks = sample.fault.starts_with("its \"hooks\"") || sample.fault.starts_with("its hooks");
        EXPECT_EQ(faultOf(sample.text), isOfHooks ? std::nullopt : std::optional(sample.fault)) << sample.name;
    }
}

TEST(FaultOf, AllowsNestingUpToItsLimit) {
    const std::size_t inner = settingsDepthLimit - 1;
    EXPECT_EQ(faultOf("{\"a\":" + std::string(inner, '[') + std::string(inner, ']') + "}"), std::nullopt);
    EXPECT_EQ(faultOf("{\"a\":" + std::string(inner + 1, '[') + std::string(inner + 1, ']') + "}"),
              "it is nested too deeply");
}

TEST(FaultOf, AllowsOneNameInTwoObjects) {
    EXPECT_EQ(faultOf(R"({"a": {"b": 1}, "c": {"b": 2}, "d": [{"b": 3}, {"b": 4}]})"), std::nullopt);
}

} // namespace
} // namespace pelorin::setup
