#pragma once

#include "BeaconryKit/interface/manager/RecordListModel.h"
#include "BeaconryKit/model/AutoDecision.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace pelorin {

/// The registered sessions as QML shows them, in the registry's order. Main thread.
class SessionListModel : public pelorin::RecordListModel {
    Q_OBJECT
    QML_NAMED_ELEMENT(SessionListModel)
    QML_UNCREATABLE("The facade owns it")

public:
    explicit SessionListModel(QObject* parent = nullptr);

    /// Takes over what the registry holds.
    void follow(const SessionRegistry& registry);

    /// The choices for a session's own policy: the default, then every automatic decision.
    static QStringList policyNames();
    /// The position of "Auto-allow" among the choices.
    static int autoAllowChoice();
    /// The policy at that place among the choices; nothing for the default and beyond the end.
    static std::optional<AutoDecision> policyAt(int choice);
};

} // namespace pelorin
