#include "BeaconryKit/relay/ProxyChoice.h"

#include "tests/relay/NetworkFixture.h"
#include "tests/support/LogCapture.h"

#include <map>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;

TEST(Loopback, IsTheMachineItself) {
    for (const char* host : {"127.0.0.1", "127.1.2.3", "::1", "::ffff:127.0.0.1", "localhost", "LocalHost",
                             "localhost.", "relay.localhost"})
        EXPECT_TRUE(isLoopback(host)) << host;
    for (const char* host : {"", "128.0.0.1", "10.0.0.1", "::2", "0.0.0.0", "relay.test", "localhost.test",
                             "mylocalhost", "127.0.0.1.test"})
        EXPECT_FALSE(isLoopback(host)) << host;
}

/// The environment's word on proxies, until it goes.
class ProxyEnvironment {
public:
    explicit ProxyEnvironment(const QByteArray& proxy) {
        for (const char* name : names) {
            m_before[name] = qgetenv(name);
            qunsetenv(name);
        }
        for (const char* name : {"http_proxy", "https_proxy", "all_proxy"})
            qputenv(name, proxy);
    }
    ~ProxyEnvironment() {
        for (const auto& [name, value] : m_before) {
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }
    ProxyEnvironment(const ProxyEnvironment&) = delete;
    ProxyEnvironment& operator=(const ProxyEnvironment&) = delete;

private:
    static constexpr const char* names[] = {"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                            "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"};
    std::map<const char*, QByteArray> m_before;
};

class ProxyTest : public NetworkFixture {
protected:
    void SetUp() override {
        NetworkFixture::SetUp();
        ASSERT_TRUE(relay.start());
        ASSERT_TRUE(proxy.start());
        environment.emplace(proxy.url().toUtf8());
        transport.emplace();
    }
    void TearDown() override { transport.reset(); }

    std::optional<HTTPReply> get(const QString& url) {
        const qsizetype before = replies.count();
        transport->send({.url = QUrl(url), .headers = {{"Authorization", "Bearer tok"}}, .timeout = 20s},
                        replies.note());
        EXPECT_TRUE(eventually([&] { return replies.count() > before; }));
        return replies[static_cast<std::size_t>(before)];
    }

    // Something that speaks HTTP and notes what it is asked for does as a proxy.
    TestRelay proxy;
    std::optional<ProxyEnvironment> environment;
    Replies replies;
    std::optional<NetworkTransport> transport;
};

TEST_F(ProxyTest, IsNeverAskedForThisMachine) {
    const QString byName = relay.url().replace("127.0.0.1", "localhost");
    for (const QString& base : {relay.url(), byName}) {
        EXPECT_TRUE(get(base + "/poll"));
        const auto before = relay.sockets().size();
        const auto task = transport->makeTask({.url = QUrl(QString(base).replace("http", "ws") + "/ws-mac"),
                                               .headers = {{"Authorization", "Bearer tok"}},
                                               .timeout = 20s});
        task->resume();
        EXPECT_TRUE(eventually([&] { return relay.sockets().size() > before; }));
    }
    EXPECT_EQ(proxy.connections(), 0);
}

TEST_F(ProxyTest, IsAskedForOtherMachines) {
    proxy.answer("http://relay.invalid/poll", TestRelayAnswer::status(200, "by proxy"));
    EXPECT_EQ(get("http://relay.invalid/poll"), (HTTPReply{200, "by proxy"}));
    ASSERT_EQ(proxy.requests().size(), 1);
    EXPECT_EQ(proxy.requests()[0].method, "GET");
    // The tunnel of a secure request is refused; what counts is that it was asked for, without the token.
    EXPECT_EQ(get("https://relay.invalid/poll"), std::nullopt);
    EXPECT_EQ(proxy.requests().last().method, "CONNECT");
    EXPECT_EQ(proxy.requests().last().target, "relay.invalid:443");
    EXPECT_EQ(proxy.requests().last().header("Authorization"), "");
}

TEST_F(ProxyTest, IsAskedForSocketsToOtherMachines) {
    for (const auto& [url, target] : {std::pair("ws://relay.invalid/ws-mac", "relay.invalid:80"),
                                      std::pair("wss://relay.invalid/ws-mac", "relay.invalid:443")}) {
        std::atomic<bool> hasFailed = false;
        const auto task =
            transport->makeTask({.url = QUrl(url), .headers = {{"Authorization", "Bearer tok"}}, .timeout = 20s});
        task->receive([&](const std::optional<SocketMessage>& message) { hasFailed = !message; });
        task->resume();
        EXPECT_TRUE(eventually([&] { return hasFailed.load(); }));
        ASSERT_FALSE(proxy.requests().isEmpty());
        EXPECT_EQ(proxy.requests().last().method, "CONNECT");
        EXPECT_EQ(proxy.requests().last().target, target);
        EXPECT_EQ(proxy.requests().last().header("Authorization"), "");
    }
}

TEST_F(ProxyTest, MayKnowAReservedNameThatNobodyElseKnows) {
    EXPECT_FALSE(ProxyChoice::leadsNowhere(QUrl("http://relay.invalid/poll")));
    EXPECT_FALSE(ProxyChoice::leadsNowhere(QUrl("wss://relay.example/ws-mac")));
}

class WithoutAProxy : public ProxyTest {
protected:
    void SetUp() override {
        NetworkFixture::SetUp();
        environment.emplace(QByteArray());
        transport.emplace();
    }
};

TEST_F(WithoutAProxy, NothingIsSentToAReservedName) {
    const LogCapture log("pelorin.relay");
    EXPECT_EQ(get("https://relay.example/poll"), std::nullopt);
    EXPECT_TRUE(LogCapture::contains("There is no sending a request to \"https://relay.example poll\""))
        << LogCapture::messages().join('\n').toStdString();
    std::atomic<bool> hasFailed = false;
    const auto task = transport->makeTask({.url = QUrl("wss://relay.invalid/ws-mac"), .headers = {}, .timeout = 20s});
    task->receive([&](const std::optional<SocketMessage>& message) { hasFailed = !message; });
    task->resume();
    EXPECT_TRUE(eventually([&] { return hasFailed.load(); }));
    EXPECT_TRUE(LogCapture::contains("There is no sending a handshake to \"wss://relay.invalid ws-mac\""))
        << LogCapture::messages().join('\n').toStdString();
}

TEST_F(WithoutAProxy, OtherNamesAreLookedUp) {
    EXPECT_FALSE(ProxyChoice::leadsNowhere(QUrl("https://relay.test/poll")));
    EXPECT_FALSE(ProxyChoice::leadsNowhere(QUrl("http://localhost/poll")));
}

} // namespace
} // namespace pelorin
