#include "tests/support/relay/TestCertificates.h"
#include "tests/support/relay/TestRelay.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <QUuid>

// A relay to try Pelorin with by hand, and a page in the browser that stands in for the phone.

namespace {

using namespace pelorin;

QString setupLink(const TestRelay& relay, const QString& token) {
    return relay.url() + "/?t=" + token;
}

void printHowToUse(QTextStream& out, const TestRelay& relay, const QString& token) {
    const QJsonObject settings{{"relayURL", relay.url()}, {"relayToken", token}};
    out << "Relay address  " << relay.url() << "\nToken          " << token << "\nPhone page     "
        << setupLink(relay, token)
        << "\n\n"
           "To point Pelorin at it, fill in address and token in the manager window's \"Phone\" tab; or end Pelorin,\n"
           "put these two settings into ~/.config/com.pelorin.manager/defaults.json and start it again:\n\n"
        << QJsonDocument(settings).toJson()
        << "\nWith an empty token Pelorin gets one of its own when it starts. Ctrl-C ends this relay.\n"
        << Qt::endl;
}

/// Prints what computers and the page say, but for what is said again and again.
void report(QTextStream& out, const TestRelay& relay, const QByteArray& path) {
    const TestRelayRequest& request = relay.requests().last();
    if (path != "/phone/state" && path != "/poll")
        out << request.method << ' ' << path << ' ' << request.body << Qt::endl;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("A small relay for trying Pelorin's phone relay on this machine alone.");
    parser.addHelpOption();
    const QCommandLineOption port("port", "Listen on this port of 127.0.0.1 (default 45790).", "number", "45790");
    const QCommandLineOption token("token", "Accept this token (default: a new one).", "text",
                                   QUuid::createUuid().toString(QUuid::Id128));
    const QCommandLineOption tls("tls", "Speak https, with an authority made in this folder.", "folder");
    parser.addOptions({port, token, tls});
    parser.process(application);

    QTextStream out(stdout);
    TestRelay relay;
    relay.setGreetsBack(true);
    if (parser.isSet(tls)) {
        const QString folder = QDir(parser.value(tls)).absolutePath();
        QDir().mkpath(folder);
        const auto certificates = TestCertificates::make(folder);
        if (!certificates) {
            QTextStream(stderr) << "openssl made no certificates in " << folder << Qt::endl;
            return 1;
        }
        relay.useTls(certificates->certificate, certificates->key);
        out << "Start Pelorin with SSL_CERT_FILE=" << certificates->authority << "\n\n";
    }
    bool isNumber = false;
    const quint16 number = parser.value(port).toUShort(&isNumber);
    if (!isNumber || !relay.start(number)) {
        QTextStream(stderr) << "Port " << parser.value(port) << " cannot be had." << Qt::endl;
        return 1;
    }
    relay.addToken(parser.value(token));
    printHowToUse(out, relay, parser.value(token));
    QObject::connect(&relay, &TestRelay::requestArrived, &application,
                     [&](const QByteArray& path) { report(out, relay, path); });
    QObject::connect(&relay, &TestRelay::tokenHandedOut, &application, [&](const QString& own) {
        out << "A computer got a token of its own; its phone page is " << setupLink(relay, own) << Qt::endl;
    });
    QObject::connect(&relay, &TestRelay::socketOpened, &application, [&](TestRelaySocket* socket) {
        out << "A computer's socket is open." << Qt::endl;
        QObject::connect(socket, &TestRelaySocket::ended, &application,
                         [&] { out << "A computer's socket is closed." << Qt::endl; });
    });
    return QCoreApplication::exec();
}
