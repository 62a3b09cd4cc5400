#pragma once

#include <QString>

#include <optional>

namespace pelorin {

/// PEM files of a certificate authority made for one occasion and of a server that it vouches for.
struct TestCertificates {
    /// Who the server's certificate is for.
    enum class Server {
        /// 127.0.0.1 and localhost, valid for a day.
        loopback,
        /// another.example.
        anotherName,
        /// 127.0.0.1 and localhost, until a day ago.
        expired
    };

    QString authority;
    QString certificate;
    QString key;

    /// Makes them in the folder with the openssl program; nothing when it is missing or fails.
    static std::optional<TestCertificates> make(const QString& folder, Server server = Server::loopback);
};

} // namespace pelorin
