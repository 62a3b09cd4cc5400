#pragma once

#include "tests/support/Eventually.h"
#include "tests/support/relay/TestCertificates.h"
#include "tests/support/relay/TestRelay.h"

#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/relay/NetworkTransport.h"

#include <QSslConfiguration>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <deque>

namespace pelorin {

/// Trusts another authority besides the system's, as a user does who adds it there, until it goes.
class TrustedAuthority {
public:
    explicit TrustedAuthority(const QString& certificateFile) : m_before(QSslConfiguration::defaultConfiguration()) {
        QSslConfiguration with = m_before;
        with.addCaCertificates(certificateFile);
        QSslConfiguration::setDefaultConfiguration(with);
    }
    ~TrustedAuthority() { QSslConfiguration::setDefaultConfiguration(m_before); }
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

private:
    const QSslConfiguration m_before;
};

/// Names the authority in SSL_CERT_FILE, as a user does who cannot add it to the system, until it goes.
class NamedAuthority {
public:
    explicit NamedAuthority(const QString& certificateFile) : m_before(qgetenv(name)) {
        qputenv(name, certificateFile.toLocal8Bit());
    }
    ~NamedAuthority() {
        if (m_before.isNull())
            qunsetenv(name);
        else
            qputenv(name, m_before);
    }
    NamedAuthority(const NamedAuthority&) = delete;
    NamedAuthority& operator=(const NamedAuthority&) = delete;

private:
    static constexpr const char* name = "SSL_CERT_FILE";
    const QByteArray m_before;
};

/// A test relay over real sockets and, in a folder of its own, certificates for it.
class NetworkFixture : public ::testing::Test {
protected:
    void SetUp() override { relay.addToken("tok"); }

    /// Has the relay speak https with a certificate that nobody trusts yet.
    void useTls(TestCertificates::Server server = TestCertificates::Server::loopback) {
        certificates = TestCertificates::make(folder.path(), server);
        ASSERT_TRUE(certificates) << "There is no openssl program.";
        relay.useTls(certificates->certificate, certificates->key);
    }

    QTemporaryDir folder;
    std::optional<TestCertificates> certificates;
    TestRelay relay;
};

/// Keeps the outcome of requests, in the order in which they ended.
class Replies {
public:
    HTTPCompletion note(const QByteArray& name = {}) {
        return [this, name](const std::optional<HTTPReply>& reply) {
            m_replies.with([&](auto& replies) { replies.push_back({name, reply}); });
        };
    }
    qsizetype count() const { return static_cast<qsizetype>(m_replies.copy().size()); }
    std::optional<HTTPReply> operator[](std::size_t number) const { return m_replies.copy().at(number).second; }
    QList<QByteArray> names() const {
        QList<QByteArray> names;
        for (const auto& [name, reply] : m_replies.copy())
            names.append(name);
        return names;
    }

private:
    Guarded<std::deque<std::pair<QByteArray, std::optional<HTTPReply>>>> m_replies;
};

} // namespace pelorin
