#include "BeaconryKit/relay/RelayMessages.h"

#include "BeaconryKit/model/Blanks.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace pelorin {

namespace {

/// The JSON object in the bytes, an empty one when they are anything else.
QJsonObject objectIn(QByteArrayView json) {
    // The document is parsed before the call returns, so the bytes need not be copied.
    return QJsonDocument::fromJson(QByteArray::fromRawData(json.data(), json.size())).object();
}

QList<RelayDecision> decisionsIn(const QJsonObject& object) {
    QList<RelayDecision> decisions;
    const QJsonArray elements = object.value(QLatin1String("decisions")).toArray();
    for (const auto& element : elements) {
        const QJsonValue id = element[QLatin1String("id")];
        const QJsonValue decision = element[QLatin1String("decision")];
        if (id.isString() && decision.isString())
            decisions.append({id.toString(), decision.toString()});
    }
    return decisions;
}

int terminalSize(const QJsonValue& value, int missing) {
    // The shell takes sizes of 16 bits; a wilder one would be this program's own mistake there.
    const qint64 size = value.toInteger(missing);
    return size >= 0 && size <= 65'535 ? static_cast<int>(size) : missing;
}

} // namespace

RelayMessage relayMessage(QByteArrayView text) {
    const QJsonObject object = objectIn(text);
    const QString type = object.value(QLatin1String("type")).toString();
    if (type == QLatin1String("decision"))
        return decisionsIn(object);
    if (type == QLatin1String("term-in")) {
        const QJsonValue data = object.value(QLatin1String("data"));
        if (data.isString())
            return RelayTerminalInput{data.toString()};
    } else if (type == QLatin1String("term-size")) {
        return RelayTerminalSize{terminalSize(object.value(QLatin1String("cols")), 80),
                                 terminalSize(object.value(QLatin1String("rows")), 24)};
    } else if (type == QLatin1String("term-new")) {
        return RelayNewShell{};
    }
    return {};
}

QList<RelayDecision> relayDecisions(QByteArrayView pollBody) {
    return decisionsIn(objectIn(pollBody));
}

std::optional<QList<RelayDevice>> relayDevices(QByteArrayView listBody) {
    const QJsonValue elements = objectIn(listBody).value(QLatin1String("devices"));
    if (!elements.isArray())
        return std::nullopt;
    QList<RelayDevice> devices;
    const QJsonArray array = elements.toArray();
    for (const auto& element : array) {
        if (!element.isObject())
            continue;
        const RelayDevice missing;
        devices.append({.id = element[QLatin1String("id")].toString(missing.id),
                        .label = element[QLatin1String("label")].toString(missing.label),
                        .country = element[QLatin1String("country")].toString(missing.country),
                        .ua = element[QLatin1String("ua")].toString(missing.ua)});
    }
    return devices;
}

std::optional<QString> relayToken(QByteArrayView provisionBody) {
    const QString token = trimBlanks(objectIn(provisionBody).value(QLatin1String("token")).toString());
    return token.isEmpty() ? std::nullopt : std::optional(token);
}

QJsonArray relayAsks(const SharedAsks& asks) {
    QJsonArray array;
    for (const SharedAsk& ask : asks) {
        const std::chrono::duration<double, std::milli> sinceEpoch = ask->receivedAt.time_since_epoch();
        array.append(QJsonObject{{QStringLiteral("id"), ask->id()},
                                 {QStringLiteral("project"), ask->projectName()},
                                 {QStringLiteral("message"), ask->displayMessage()},
                                 {QStringLiteral("isPermission"), ask->isPermission()},
                                 {QStringLiteral("source"), ask->source},
                                 {QStringLiteral("at"), sinceEpoch.count()}});
    }
    return array;
}

QString relayHello(PhoneTerminal terminal) {
    return terminal == PhoneTerminal::enabled ? QStringLiteral(R"({"type":"hello","term":true})")
                                              : QStringLiteral(R"({"type":"hello","term":false})");
}

QString relayTerminalOutput(const QString& text) {
    const QJsonObject object{{QStringLiteral("type"), QStringLiteral("term-out")}, {QStringLiteral("data"), text}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

} // namespace pelorin
