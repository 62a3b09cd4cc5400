// The least computer that a relay can talk to: it says what it hears. What the way of a decision is compared to.

#include <QCoreApplication>
#include <QNetworkRequest>
#include <QWebSocket>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QWebSocket socket;
    QObject::connect(&socket, &QWebSocket::textMessageReceived, &socket,
                     [&](const QString& text) { socket.sendTextMessage(text); });
    QNetworkRequest request{QUrl(arguments.value(1))};
    request.setRawHeader("Authorization", "Bearer " + arguments.value(2).toUtf8());
    socket.open(request);
    return QCoreApplication::exec();
}
