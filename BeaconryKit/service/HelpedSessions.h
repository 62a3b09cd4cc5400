#pragma once

#include "BeaconryKit/model/HelperDetails.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/RequestDetails.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QByteArray>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>
#include <utility>

namespace pelorin {

/// Calls the task once, when the process of that number and start time has ended, on any thread. False when it is not
/// to be found; nothing is called then.
using ProcessWatch = std::function<bool(qint64 process, quint64 startTime, Task onEnd)>;

/// The watch that the system offers.
ProcessWatch systemProcessWatch();

/// What the helped sessions need. All of it must outlive them.
struct HelpedSessionsParts {
    Dispatch& dispatch;
    AskStore& store;
    SessionRegistry& registry;
    DecisionRouter& router;
    RequestDetails& details;
};

/// Does for sessions whose hooks are our own helper what the plain protocol leaves undone. A session that was missed is
/// listed with its next event; a session whose CLI's process ends is forgotten with it; and no helper goes on waiting
/// for a row that was taken away together with its session. Sessions of other senders are left alone. Lives on the main
/// thread.
class HelpedSessions final : public QObject {
    Q_OBJECT

public:
    explicit HelpedSessions(const HelpedSessionsParts& parts, ProcessWatch watch = systemProcessWatch());

    /// Takes note of an event of a session, by the body of its hook. To be called before the event is handled.
    void meet(const QByteArray& body);
    /// Takes note of a session that announces itself.
    void begin(const QString& sessionId, const QByteArray& body);
    /// Takes note of a session that takes its leave.
    void end(const QString& sessionId);

private:
    using NamedProcess = std::pair<qint64, quint64>;

    bool follow(const HelperDetails& details);
    void processEnded(const NamedProcess& process);
    void handBackLeftRequests();

    const HelpedSessionsParts m_parts;
    const ProcessWatch m_watch;
    QSet<NamedProcess> m_watched;
    // Sessions that have taken their leave, the latest last: what still comes of them is no new beginning.
    QStringList m_ended;
};

} // namespace pelorin
