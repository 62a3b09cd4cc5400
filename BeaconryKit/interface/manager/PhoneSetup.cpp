#include "BeaconryKit/interface/manager/PhoneSetup.h"

#include "BeaconryKit/interface/asks/DisplayText.h"
#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/platform/WhileAlive.h"

#include <QClipboard>
#include <QGuiApplication>

namespace pelorin {

namespace {

constexpr qsizetype nameLimit = 200;
constexpr qsizetype agentLimit = 400;

} // namespace

QString phoneSetupLink(const QString& relayURL, const QString& relayToken) {
    return trimBlanks(relayURL) + QStringLiteral("/?t=") + trimBlanks(relayToken);
}

PhoneSetup::PhoneSetup(NotifierSettings& settings, RelayClient& relay, RelayProvisioner& provisioner, QObject* parent)
    : QObject(parent),
      m_settings(settings),
      m_relay(relay),
      m_provisioner(provisioner),
      m_phones({"phoneId", "label", "country", "userAgent", "isBeingRemoved"}) {
}

RelayConfig PhoneSetup::config() const {
    return {m_settings.relayURL(), m_settings.relayToken()};
}

QString PhoneSetup::setupLink() const {
    return m_settings.relayConfigured() ? phoneSetupLink(m_settings.relayURL(), m_settings.relayToken()) : QString();
}

QString PhoneSetup::maskedLink() const {
    return m_settings.relayConfigured() ? phoneSetupLink(m_settings.relayURL(), QStringLiteral("••••••••")) : QString();
}

void PhoneSetup::copyLink() const {
    QGuiApplication::clipboard()->setText(setupLink());
}

void PhoneSetup::copyToken() const {
    QGuiApplication::clipboard()->setText(m_settings.relayToken());
}

QString PhoneSetup::phonesTitle() const {
    if (m_isLoading)
        return QStringLiteral("Checking connected phones…");
    if (m_devices.isEmpty())
        return QStringLiteral("No phones connected yet");
    if (m_devices.size() == 1)
        return QStringLiteral("1 phone connected");
    return QString::number(m_devices.size()) + QStringLiteral(" phones connected");
}

void PhoneSetup::regenerateToken() {
    if (m_isProvisioning)
        return;
    m_isProvisioning = true;
    m_provisioningError.clear();
    emit changed();
    m_provisioner.provision(
        m_settings.relayURL(), RelayProvisioner::deviceName(),
        whileAlive(this, [before = config()](PhoneSetup& self, const std::optional<QString>& token) {
            self.m_isProvisioning = false;
            if (!token)
                self.m_provisioningError =
                    QStringLiteral("The relay gave no fresh token. The one above stays as it is.");
            emit self.changed();
            if (!token || self.config() != before)
                return;
            self.m_settings.setRelayToken(*token);
            self.loadPhones();
        }));
}

void PhoneSetup::loadPhones() {
    const int load = ++m_lastLoad;
    m_isLoading = true;
    m_loadedConfig = config();
    emit changed();
    m_relay.devices(m_loadedConfig.url, m_loadedConfig.token,
                    whileAlive(this, [load](PhoneSetup& self, const std::optional<QList<RelayDevice>>& devices) {
                        if (self.m_lastLoad != load)
                            return;
                        self.m_isLoading = false;
                        if (devices)
                            self.show(*devices);
                        emit self.changed();
                    }));
}

void PhoneSetup::loadPhonesOfNewConfig() {
    if (config() != m_loadedConfig)
        loadPhones();
}

void PhoneSetup::removePhone(const QString& phoneId) {
    if (m_beingRemoved.contains(phoneId))
        return;
    setBeingRemoved(phoneId, true);
    m_relay.removeDevice(phoneId, m_loadedConfig.url, m_loadedConfig.token,
                         whileAlive(this, [phoneId](PhoneSetup& self, RelayClient::Removal) {
                             // The answer may be lost. Only the relay's list tells whether the phone is gone.
                             self.setBeingRemoved(phoneId, false);
                             self.loadPhones();
                         }));
}

void PhoneSetup::setBeingRemoved(const QString& phoneId, bool isBeingRemoved) {
    if (isBeingRemoved)
        m_beingRemoved.insert(phoneId);
    else
        m_beingRemoved.remove(phoneId);
    show(m_devices);
}

void PhoneSetup::show(const QList<RelayDevice>& devices) {
    m_devices = devices;
    QList<RecordListModel::Record> records;
    records.reserve(devices.size());
    for (const RelayDevice& device : devices)
        records.append({device.id,
                        {device.id, displayText(device.label, nameLimit, LineBreaks::join),
                         displayText(device.country, nameLimit, LineBreaks::join),
                         displayText(device.ua, agentLimit, LineBreaks::join), m_beingRemoved.contains(device.id)}});
    m_phones.sync(records);
}

} // namespace pelorin
