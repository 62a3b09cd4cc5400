#pragma once

#include "BeaconryKit/model/Decision.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/platform/Guarded.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <memory>

namespace pelorin {

/// Takes the body of the reply to a hook. Called at most once.
using Respond = std::function<void(const QByteArray& body)>;

/// Holds permission requests until somebody decides or their time is up, and completes each exactly once. Knows nothing
/// of HTTP or of rows on screen. All operations may be called from any thread; callbacks run without the lock, on the
/// thread that completed the request.
class DecisionRouter {
public:
    using Decision = pelorin::Decision;

    /// Tells one waiting hook from another that waits under the same request id. Only compared, never followed.
    using Waiter = std::shared_ptr<const void>;

    /// The dispatch must outlive the router.
    explicit DecisionRouter(Dispatch& dispatch);

    /// Keeps the request and starts its deadline, `timeout` seconds from now (zero or less: at once). A request already
    /// standing under the id is replaced, its callbacks dropped uncalled. A deadline knows only the id: one left over
    /// from an earlier request expires whatever stands under that id when it comes.
    void park(const QString& requestId, double timeout, Respond respond, std::function<void()> onExpire = {},
              Waiter waiter = {});

    /// Completes the request with the user's decision. False when none stands under the id.
    bool resolve(const QString& requestId, Decision decision);

    /// Completes the request: the reply first, then, if it expired, the expiry callback. False when none stands under
    /// the id.
    bool finish(const QString& requestId, Decision decision, bool expired);

    /// Forgets the request without a reply because the hook that waited has gone. False when none stands under the id,
    /// or when it is another hook's.
    bool withdraw(const QString& requestId, const Waiter& waiter);

private:
    struct Pending {
        Respond respond;
        std::function<void()> onExpire;
        Waiter waiter;
    };
    using Table = Guarded<QHash<QString, Pending>>;

    static bool finish(Table& table, const QString& requestId, Decision decision, bool expired);

    Dispatch& m_dispatch;
    // Deadlines hold the table weakly: they are never cancelled and may outlive the router.
    std::shared_ptr<Table> m_pending;
};

/// The reply to a hook that carries a decision and nothing else: {"decision":"allow"}.
QByteArray decisionReply(Decision decision);

} // namespace pelorin
