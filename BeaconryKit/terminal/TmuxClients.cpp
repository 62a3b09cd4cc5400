#include "BeaconryKit/terminal/TmuxClients.h"

#include "BeaconryKit/terminal/TerminalAddress.h"

#include <QList>

#include <algorithm>

namespace pelorin {

namespace {

struct Client {
    qint64 lastUse = 0;
    QString session;
    QString device;
};

/// Those in a terminal: a client in control mode has none.
QList<Client> parsedClients(const QString& lines) {
    QList<Client> clients;
    for (const QString& line : lines.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList parts = line.split(u' ');
        if (parts.size() == 3 && TerminalAddress::isDevice(parts[2]))
            clients.append({parts[0].toLongLong(), parts[1], parts[2]});
    }
    return clients;
}

} // namespace

std::optional<QString> TmuxClients::show(const QString& pane, const TmuxSocket& server, TerminalRunner& runner) {
    if (!server.isOurs())
        return std::nullopt;
    const auto tmux = [&](const QStringList& command) {
        return runner.run(QStringLiteral("tmux"), server.arguments(command)).value_or(QString());
    };
    const QString session = tmux({QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("-t"), pane,
                                  QStringLiteral("#{session_id}")})
                                .trimmed();
    QList<Client> clients = parsedClients(tmux({QStringLiteral("list-clients"), QStringLiteral("-F"),
                                                QStringLiteral("#{client_activity} #{session_id} #{client_tty}")}));
    if (session.isEmpty() || clients.isEmpty())
        return std::nullopt;
    const auto chosen = std::ranges::max_element(
        clients, {}, [&](const Client& client) { return std::pair(client.session == session, client.lastUse); });
    if (chosen->session != session)
        tmux({QStringLiteral("switch-client"), QStringLiteral("-c"), chosen->device, QStringLiteral("-t"), session});
    return chosen->device;
}

} // namespace pelorin
