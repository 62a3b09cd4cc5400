#include "BeaconryKit/relay/RelayProvisioner.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/platform/ComputerName.h"
#include "BeaconryKit/relay/RelayMessages.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace pelorin {

RelayProvisioner::RelayProvisioner(Dispatch& dispatch, HTTPTransport& transport)
    : m_dispatch(dispatch), m_transport(transport) {
}

QString RelayProvisioner::deviceName() {
    return deviceName(computerName());
}

QString RelayProvisioner::deviceName(const std::optional<QString>& computersName) {
    return computersName.value_or(QStringLiteral("Mac"));
}

void RelayProvisioner::provision(const QString& url, const QString& name, Completion completion) {
    TaskQueue& main = m_dispatch.mainQueue();
    const auto finish = [completion = std::move(completion), &main](std::optional<QString> token) {
        main.async([completion, token = std::move(token)] { completion(token); });
    };
    const QString base = trimBlanks(url);
    const QUrl address(base + QStringLiteral("/provision"), QUrl::StrictMode);
    if (base.isEmpty() || !address.isValid()) {
        finish(std::nullopt);
        return;
    }
    const QJsonObject body{{QStringLiteral("name"), name}};
    m_transport.send(
        {.method = HTTPRequest::Method::post,
         .url = address,
         .headers = {{"content-type", "application/json"}},
         .body = QJsonDocument(body).toJson(QJsonDocument::Compact),
         .timeout = timeout},
        [finish](const std::optional<HTTPReply>& reply) { finish(reply ? relayToken(reply->body) : std::nullopt); });
}

} // namespace pelorin
