#include "BeaconryKit/model/HookPayload.h"

#include <QJsonDocument>

namespace pelorin {

DecodeResult<HookPayload> HookPayload::parse(QByteArrayView jsonData) {
    QJsonParseError error;
    // The document is parsed before the call returns, so the bytes need not be copied.
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(jsonData.data(), jsonData.size()), &error);
    if (error.error != QJsonParseError::NoError)
        return tl::unexpected<DecodeFailure>(error);
    const QJsonObject values = document.object();
    if (!values.value(QLatin1String("session_id")).isString())
        return tl::unexpected<DecodeFailure>(DecodeError::invalidPayload);
    return HookPayload(values);
}

QString HookPayload::string(QLatin1StringView key, const QString& missing) const {
    return m_values.value(key).toString(missing);
}

bool HookPayload::boolean(QLatin1StringView key) const {
    return m_values.value(key).toBool(false);
}

QJsonObject HookPayload::object(QLatin1StringView key) const {
    return m_values.value(key).toObject();
}

std::optional<QString> sessionIdOf(QByteArrayView jsonData) {
    const auto payload = HookPayload::parse(jsonData);
    if (!payload)
        return std::nullopt;
    return payload->string(QLatin1String("session_id"));
}

} // namespace pelorin
