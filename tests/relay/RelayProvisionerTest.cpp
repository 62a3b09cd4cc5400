#include "BeaconryKit/relay/RelayProvisioner.h"

#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/ManualDispatch.h"

#if defined(__linux__)
#include "BeaconryKit/platform/linux/MachineInfo.h"
#endif

#include <QFile>
#include <gmock/gmock.h>

#include <array>
#include <unistd.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RelayProvisionerTest : public ::testing::Test {
protected:
    RelayProvisioner::Completion note() {
        return [this](const std::optional<QString>& token) {
            tokens.append(token.value_or("nothing"));
        };
    }

    ManualDispatch dispatch;
    FakeHTTPTransport transport;
    RelayProvisioner provisioner{dispatch, transport};
    QStringList tokens;
};

TEST_F(RelayProvisionerTest, AsksForATokenByTheComputersName) {
    provisioner.provision(" \thttps://relay.test/x ", "Ann's \"desk\"", note());
    ASSERT_EQ(transport.sent.size(), 1);
    const HTTPRequest& request = transport.sent[0].request;
    EXPECT_EQ(request.method, HTTPRequest::Method::post);
    EXPECT_EQ(request.url, QUrl("https://relay.test/x/provision"));
    EXPECT_THAT(request.headers, ElementsAre(std::pair<QByteArray, QByteArray>("content-type", "application/json")));
    EXPECT_EQ(request.body, R"({"name":"Ann's \"desk\""})");
    EXPECT_EQ(request.timeout, 12s);
    EXPECT_EQ(request.queue, "");
}

TEST_F(RelayProvisionerTest, AppendsThePathToTheAddressAsItStands) {
    provisioner.provision("https://relay.test/", "desk", note());
    EXPECT_EQ(transport.sent.last().request.url.toEncoded(), "https://relay.test//provision");
}

TEST_F(RelayProvisionerTest, GivesTheTokenOnTheMainQueueWhateverTheStatus) {
    provisioner.provision("https://relay.test", "desk", note());
    transport.sent[0].answer(R"({"token":" abc\t","expires":1})", 500);
    EXPECT_THAT(tokens, IsEmpty());
    dispatch.runDue();
    EXPECT_THAT(tokens, ElementsAre("abc"));
    dispatch.advance(1h);
    EXPECT_EQ(tokens.size(), 1);
}

TEST_F(RelayProvisionerTest, GivesNothingForAnythingElse) {
    const std::optional<QByteArray> bodies[] = {std::nullopt,    "", "no", "[]", "{}", R"({"token":"  "})",
                                                R"({"token":7})"};
    for (const auto& body : bodies) {
        tokens.clear();
        provisioner.provision("https://relay.test", "desk", note());
        if (body)
            transport.sent.last().answer(*body);
        else
            transport.sent.last().fail();
        dispatch.runDue();
        EXPECT_THAT(tokens, ElementsAre("nothing")) << body.value_or("no reply").toStdString();
    }
}

TEST_F(RelayProvisionerTest, SendsNothingToAnAddressThatIsNone) {
    for (const char* url : {"", " \t ", "https://relay test", "https://relay.test:port"}) {
        tokens.clear();
        provisioner.provision(url, "desk", note());
        EXPECT_THAT(tokens, IsEmpty()) << "Never within the call.";
        dispatch.runDue();
        EXPECT_THAT(tokens, ElementsAre("nothing")) << url;
    }
    EXPECT_THAT(transport.sent, IsEmpty());
}

TEST_F(RelayProvisionerTest, KeepsRequestsApart) {
    provisioner.provision("https://relay.test", "desk", note());
    provisioner.provision("https://relay.test", "desk", note());
    transport.sent[1].answer(R"({"token":"second"})");
    transport.sent[0].answer(R"({"token":"first"})");
    dispatch.runDue();
    EXPECT_THAT(tokens, ElementsAre("second", "first"));
}

TEST(DeviceName, IsTheComputersNameElseMac) {
    EXPECT_EQ(RelayProvisioner::deviceName("Ann's laptop"), "Ann's laptop");
    EXPECT_EQ(RelayProvisioner::deviceName(std::nullopt), "Mac");
#if defined(__linux__)
    std::array<char, 256> host{};
    ASSERT_EQ(gethostname(host.data(), host.size()), 0);
    QFile machineInfo("/etc/machine-info");
    const auto given = machineInfo.open(QFile::ReadOnly) ? prettyHostname(machineInfo.readAll()) : std::nullopt;
    EXPECT_EQ(RelayProvisioner::deviceName(), given.value_or(host.data()));
#endif
}

} // namespace
} // namespace pelorin
