#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/ManualDispatch.h"

#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayMessages.h"
#include "BeaconryKit/relay/RelayProvisioner.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdint>
#include <cstdlib>

// Whatever the relay answers to a poll, a list of phones or a provisioning: every question is answered once, and what
// was understood is understood the same when it is written down again.

namespace {

using namespace pelorin;

const QString address = QStringLiteral("https://relay.test");
const QString token = QStringLiteral("token");

void require(bool holds) {
    if (!holds)
        std::abort();
}

QByteArray object(const QString& key, const QJsonValue& value) {
    return QJsonDocument(QJsonObject{{key, value}}).toJson(QJsonDocument::Compact);
}

void poll(const QByteArray& body) {
    ManualDispatch dispatch;
    FakeHTTPTransport transport;
    RelayClient client(dispatch, transport);
    QList<RelayDecision> decisions;
    client.startPolling(
        5,
        [] {
            return RelayConfig{address, token};
        },
        [&](const QString& id, const QString& decision) {
            decisions.append({id, decision});
        });
    dispatch.advance(std::chrono::seconds(5));
    require(transport.sent.size() == 1);
    transport.sent.first().answer(body);
    dispatch.runDue();

    require(decisions == relayDecisions(body));
    QJsonArray again;
    for (const RelayDecision& decision : decisions)
        again.append(QJsonObject{{"id", decision.requestId}, {"decision", decision.decision}});
    require(relayDecisions(object("decisions", again)) == decisions);
}

void listPhones(const QByteArray& body) {
    ManualDispatch dispatch;
    FakeHTTPTransport transport;
    RelayClient client(dispatch, transport);
    int answers = 0;
    std::optional<QList<RelayDevice>> phones;
    client.devices(address, token, [&](const auto& devices) {
        ++answers;
        phones = devices;
    });
    transport.sent.first().answer(body);
    dispatch.runDue();

    require(answers == 1);
    if (!phones)
        return;
    QJsonArray again;
    for (const RelayDevice& phone : *phones)
        again.append(
            QJsonObject{{"id", phone.id}, {"label", phone.label}, {"country", phone.country}, {"ua", phone.ua}});
    require(relayDevices(object("devices", again)) == phones);
}

void provision(const QByteArray& body) {
    ManualDispatch dispatch;
    FakeHTTPTransport transport;
    RelayProvisioner provisioner(dispatch, transport);
    int answers = 0;
    std::optional<QString> given;
    provisioner.provision(address, QStringLiteral("computer"), [&](const auto& itsToken) {
        ++answers;
        given = itsToken;
    });
    transport.sent.first().answer(body);
    dispatch.runDue();

    require(answers == 1);
    if (given)
        require(!given->isEmpty() && relayToken(object("token", *given)) == given);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray body(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    poll(body);
    listPhones(body);
    provision(body);
    // The shell's output is as foreign: whatever it is, it arrives.
    const QString output = QString::fromUtf8(body);
    const QJsonObject message = QJsonDocument::fromJson(relayTerminalOutput(output).toUtf8()).object();
    require(message.value("type") == QLatin1String("term-out") && message.value("data") == output);
    return 0;
}
