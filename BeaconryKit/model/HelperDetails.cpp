#include "BeaconryKit/model/HelperDetails.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

namespace pelorin {

namespace {

// Process ids are positive and fit the system's type for them.
qint64 processId(const QJsonValue& value) {
    const qint64 process = value.toInteger();
    return process > 0 && process <= std::numeric_limits<qint32>::max() ? process : 0;
}

} // namespace

std::optional<HelperDetails> HelperDetails::decode(QByteArrayView jsonData) {
    // Bodies can be large, and those of others need not be read a second time to see that.
    if (!jsonData.contains("\"helper_version\""))
        return std::nullopt;
    // The document is parsed before the call returns, so the bytes need not be copied.
    const QJsonObject body =
        QJsonDocument::fromJson(QByteArray::fromRawData(jsonData.data(), jsonData.size())).object();
    HelperDetails details;
    details.version = body.value(QLatin1StringView("helper_version")).toInteger();
    if (details.version < 1)
        return std::nullopt;
    details.helperProcess = processId(body.value(QLatin1StringView("helper_process")));
    details.cliProcess = processId(body.value(QLatin1StringView("cli_process")));
    // A text, because numbers of JSON lose the last digits of what is that long.
    details.cliStartTime = body.value(QLatin1StringView("cli_start_time")).toString().toULongLong();
    details.tmuxServer = body.value(QLatin1StringView("tmux_server")).toString();
    return details;
}

} // namespace pelorin
