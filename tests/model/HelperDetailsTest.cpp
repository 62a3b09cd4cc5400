#include "BeaconryKit/model/HelperDetails.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

TEST(HelperDetails, DecodesWhatTheHelperTells) {
    const auto details = HelperDetails::decode(
        R"({"session_id":"s","helper_version":2,"helper_process":12,"cli_process":2147483647,
            "cli_start_time":"18446744073709551615","tmux_server":"/tmp/tmux-0/default"})");
    ASSERT_TRUE(details);
    EXPECT_EQ(*details, (HelperDetails{.version = 2,
                                       .helperProcess = 12,
                                       .cliProcess = 2147483647,
                                       .cliStartTime = 18446744073709551615U,
                                       .tmuxServer = "/tmp/tmux-0/default"}));
}

TEST(HelperDetails, AreOfTheHelperAlone) {
    for (const char* body : {"", "[]", "{}", R"({"session_id":"s","tmux_server":"/x","helper_process":1})",
                             R"({"helper_version":0})", R"({"helper_version":-1})", R"({"helper_version":"1"})",
                             R"({"helper_version":true})", R"({"helper_version":0.5})", R"({"helper_version":null})"})
        EXPECT_FALSE(HelperDetails::decode(body)) << body;
}

TEST(HelperDetails, LeaveOutWhatMakesNoSense) {
    for (const char* body : {R"({"helper_version":1})",
                             R"({"helper_version":1,"helper_process":0,"cli_process":-4,"cli_start_time":"-1"})",
                             R"({"helper_version":1,"helper_process":"12","cli_process":2147483648,
                                 "cli_start_time":12,"tmux_server":["/x"]})",
                             R"({"helper_version":1,"cli_process":1.5,"cli_start_time":"x1"})"}) {
        const auto details = HelperDetails::decode(body);
        ASSERT_TRUE(details) << body;
        EXPECT_EQ(*details, HelperDetails{.version = 1}) << body;
    }
}

} // namespace
} // namespace pelorin
