#include "BeaconryKit/service/HelpedSessions.h"

#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/platform/ExitWatch.h"
#include "BeaconryKit/platform/WhileAlive.h"

namespace pelorin {

namespace {

constexpr qsizetype endedLimit = 256;
// Each takes a descriptor.
constexpr qsizetype watchedLimit = 512;

} // namespace

ProcessWatch systemProcessWatch() {
    return [](qint64 process, quint64 startTime, Task onEnd) {
        return watchForExit(static_cast<pid_t>(process), startTime, std::move(onEnd));
    };
}

HelpedSessions::HelpedSessions(const HelpedSessionsParts& parts, ProcessWatch watch)
    : m_parts(parts), m_watch(std::move(watch)) {
    // Muting a session and unregistering it both change the mutes, and then take the session's rows. The announcement
    // comes first.
    connect(&m_parts.registry, &SessionRegistry::mutedIdsWillChange, this, &HelpedSessions::handBackLeftRequests,
            Qt::QueuedConnection);
}

void HelpedSessions::meet(const QByteArray& body) {
    const auto details = HelperDetails::decode(body);
    const auto session = details ? SessionInfo::decode(body) : tl::unexpected(DecodeFailure());
    if (!session)
        return;
    const bool isRunning = follow(*details);
    m_parts.details.keepSession(session->sessionId, details);
    // A hook may outlive its CLI.
    if (isRunning && !m_parts.registry.session(session->sessionId) && !m_ended.contains(session->sessionId))
        m_parts.registry.registerSession(*session);
}

void HelpedSessions::begin(const QString& sessionId, const QByteArray& body) {
    m_ended.removeAll(sessionId);
    if (const auto details = HelperDetails::decode(body))
        follow(*details);
}

void HelpedSessions::end(const QString& sessionId) {
    m_ended.removeAll(sessionId);
    m_ended.append(sessionId);
    if (m_ended.size() > endedLimit)
        m_ended.removeFirst();
}

bool HelpedSessions::follow(const HelperDetails& details) {
    if (details.cliProcess == 0)
        return true;
    const NamedProcess process(details.cliProcess, details.cliStartTime);
    if (m_watched.contains(process))
        return true;
    if (m_watched.size() >= watchedLimit)
        return false;
    const auto onEnd = whileAlive(this, [process](HelpedSessions& self) { self.processEnded(process); });
    TaskQueue& mainQueue = m_parts.dispatch.mainQueue();
    if (!m_watch(process.first, process.second, [&mainQueue, onEnd] { mainQueue.async(onEnd); }))
        return false;
    m_watched.insert(process);
    return true;
}

void HelpedSessions::processEnded(const NamedProcess& process) {
    m_watched.remove(process);
    const QStringList sessions = m_parts.details.sessionsOf(process.first, process.second);
    for (const QString& sessionId : sessions) {
        end(sessionId);
        m_parts.details.forgetSession(sessionId);
        m_parts.registry.unregister(sessionId);
        m_parts.store.clear(sessionId);
    }
}

void HelpedSessions::handBackLeftRequests() {
    const QStringList requests = m_parts.details.takeLeftRequests();
    for (const QString& request : requests)
        m_parts.router.resolve(request, Decision::ask);
}

} // namespace pelorin
