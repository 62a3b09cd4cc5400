#pragma once

#include "BeaconryKit/interface/manager/RecordListModel.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayProvisioner.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// The link that a phone opens to be paired: the relay's address and the token, both without blanks at their ends,
/// nothing escaped. It carries the token: show it, never log it.
QString phoneSetupLink(const QString& relayURL, const QString& relayToken);

/// Sets phones up at the relay for the window: their link, a fresh token, the list of those that are connected. A relay
/// that gives no list is silent; one that gives no token is told of. Main thread.
class PhoneSetup final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(PhoneSetup)
    QML_UNCREATABLE("The facade owns it")

    /// What a phone opens to be set up; empty while the address or the token is missing.
    Q_PROPERTY(QString setupLink READ setupLink NOTIFY setupLinkChanged FINAL)
    /// The link as it may be shown: it does not tell the token.
    Q_PROPERTY(QString maskedLink READ maskedLink NOTIFY setupLinkChanged FINAL)
    Q_PROPERTY(bool isProvisioning READ isProvisioning NOTIFY changed FINAL)
    /// Why there is no fresh token, for the user; empty when there is one or none was asked for.
    Q_PROPERTY(QString provisioningError READ provisioningError NOTIFY changed FINAL)
    Q_PROPERTY(pelorin::RecordListModel* phones READ phones CONSTANT FINAL)
    /// How many phones there are, in words, or that this is being found out.
    Q_PROPERTY(QString phonesTitle READ phonesTitle NOTIFY changed FINAL)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed FINAL)

public:
    /// All must outlive the object.
    PhoneSetup(NotifierSettings& settings, RelayClient& relay, RelayProvisioner& provisioner,
               QObject* parent = nullptr);

    QString setupLink() const;
    QString maskedLink() const;
    const QString& provisioningError() const { return m_provisioningError; }
    bool isProvisioning() const { return m_isProvisioning; }
    RecordListModel* phones() { return &m_phones; }
    QString phonesTitle() const;
    bool isLoading() const { return m_isLoading; }

    /// Asks for a fresh token and stores it. Does nothing while that is under way. An address or a token that the user
    /// has typed meanwhile stays.
    Q_INVOKABLE void regenerateToken();
    /// Puts the link or the token on the clipboard.
    Q_INVOKABLE void copyLink() const;
    Q_INVOKABLE void copyToken() const;
    /// Asks the relay for the phones.
    Q_INVOKABLE void loadPhones();
    /// Loads the phones if the list shown belongs to another address or token.
    Q_INVOKABLE void loadPhonesOfNewConfig();
    /// Takes the phone off the list, and loads the list anew.
    Q_INVOKABLE void removePhone(const QString& phoneId);

signals:
    void setupLinkChanged();
    void changed();

private:
    RelayConfig config() const;
    void show(const QList<RelayDevice>& devices);
    void setBeingRemoved(const QString& phoneId, bool isBeingRemoved);

    NotifierSettings& m_settings;
    RelayClient& m_relay;
    RelayProvisioner& m_provisioner;
    RecordListModel m_phones;
    QList<RelayDevice> m_devices;
    QSet<QString> m_beingRemoved;
    RelayConfig m_loadedConfig;
    bool m_isProvisioning = false;
    QString m_provisioningError;
    bool m_isLoading = false;
    // Only the answer to the newest request counts.
    int m_lastLoad = 0;
};

} // namespace pelorin
