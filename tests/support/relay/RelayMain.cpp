#include "tests/support/relay/TestCertificates.h"
#include "tests/support/relay/TestRelay.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

// A relay to try Pelorin with by hand, and a page in the browser that stands in for the phone.

int main(int argc, char** argv) {
    using namespace pelorin;
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("A small relay for trying Pelorin's phone relay on this machine alone.");
    parser.addHelpOption();
    const QCommandLineOption port("port", "Listen on this port of 127.0.0.1 (default 45790).", "number", "45790");
    const QCommandLineOption token("token", "Accept this token from the start.", "text");
    const QCommandLineOption tls("tls", "Speak https, with an authority made in this folder.", "folder");
    parser.addOptions({port, token, tls});
    parser.process(application);

    QTextStream out(stdout);
    TestRelay relay;
    relay.setGreetsBack(true);
    if (parser.isSet(tls)) {
        QDir().mkpath(parser.value(tls));
        const auto certificates = TestCertificates::make(parser.value(tls));
        if (!certificates) {
            QTextStream(stderr) << "openssl made no certificates in " << parser.value(tls) << Qt::endl;
            return 1;
        }
        relay.useTls(certificates->certificate, certificates->key);
        out << "Pelorin must trust " << certificates->authority << Qt::endl;
    }
    if (!relay.start(parser.value(port).toUShort())) {
        QTextStream(stderr) << "Port " << parser.value(port) << " is taken." << Qt::endl;
        return 1;
    }
    const QString own = parser.isSet(token) ? parser.value(token) : QStringLiteral("test-token");
    relay.addToken(own);
    out << "Relay address " << relay.url() << "\nToken         " << own << "\nPhone page    " << relay.url()
        << "/?t=" << own << Qt::endl;
    QObject::connect(&relay, &TestRelay::requestArrived, &application, [&](const QByteArray& path) {
        if (!path.startsWith("/phone/") && path != "/poll")
            out << relay.requests().last().method << ' ' << path << ' ' << relay.requests().last().body << Qt::endl;
        if (path == "/provision")
            out << "A token was handed out; its page is the setup link that Pelorin shows." << Qt::endl;
    });
    return QCoreApplication::exec();
}
