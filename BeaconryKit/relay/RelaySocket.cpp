#include "BeaconryKit/relay/RelaySocket.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/platform/Overloaded.h"
#include "BeaconryKit/relay/RelayMessages.h"

#include <atomic>
#include <utility>
#include <vector>

namespace pelorin {

// Timers and receivers hold it weakly. Nothing foreign is called under its lock.
class RelaySocket::Core : public std::enable_shared_from_this<Core> {
public:
    Core(Dispatch& dispatch, SocketTransport& transport, Callbacks callbacks)
        : m_dispatch(dispatch), m_transport(transport), m_callbacks(std::move(callbacks)) {}

    void start() {
        m_state.with([](State& state) {
            if (state.phase == Phase::stopped)
                state.phase = Phase::waiting;
        });
        connect();
    }

    void stop() {
        // Their ends say no more to anybody, so they are destroyed after the lock is released.
        std::vector<TaskPointer> forgotten;
        const TaskPointer task = m_state.with([&](State& state) {
            state.phase = Phase::stopped;
            forgotten.swap(state.forgotten);
            return std::exchange(state.task, nullptr);
        });
        close(task);
    }

    void reconnect() {
        close(m_state.with([](State& state) {
            if (state.phase == Phase::open)
                state.phase = Phase::waiting;
            return std::exchange(state.task, nullptr);
        }));
        if (!isStopped())
            connect();
    }

    void sendHello() {
        const auto terminal = m_callbacks.termEnabled() ? PhoneTerminal::enabled : PhoneTerminal::disabled;
        if (const TaskPointer task = currentTask())
            task->send(relayHello(terminal));
    }

    void sendTermOut(const QString& text, Task onTaken) {
        if (!onTaken)
            onTaken = [] {
            };
        if (const TaskPointer task = currentTask())
            task->sendInTurn(relayTerminalOutput(text), std::move(onTaken));
        else
            onTaken();
    }

    bool isConnected() const { return m_isConnected; }

private:
    using TaskPointer = std::shared_ptr<SocketTask>;

    /// As the header has them.
    enum class Phase { idle, waiting, open, stopped };

    struct State {
        Phase phase = Phase::idle;
        // The present connection, there while the phase is open.
        TaskPointer task;
        std::vector<TaskPointer> forgotten;
        bool attemptIsDue = false;
    };

    bool isStopped() {
        return m_state.with([](const State& state) { return state.phase == Phase::stopped; });
    }

    TaskPointer currentTask() {
        return m_state.with([](const State& state) { return state.task; });
    }

    void close(const TaskPointer& task) {
        m_isConnected = false;
        if (task)
            task->cancel(SocketCloseCode::goingAway);
    }

    std::optional<SocketRequest> request() {
        const auto config = m_callbacks.config();
        if (!config || config->token.isEmpty())
            return std::nullopt;
        const auto url = wsURL(config->url);
        if (!url)
            return std::nullopt;
        return SocketRequest{
            .url = *url, .headers = {{"Authorization", "Bearer " + config->token.toUtf8()}}, .timeout = connectTimeout};
    }

    void connect() {
        if (isStopped())
            return;
        const auto socketRequest = request();
        if (!socketRequest) {
            waitForNextAttempt();
            return;
        }
        const TaskPointer task = m_transport.makeTask(*socketRequest);
        // Another thread may have stopped the socket meanwhile.
        if (!enter(Phase::open, task))
            return;
        task->resume();
        sendHello();
        receive(task);
    }

    void receive(const TaskPointer& task) {
        task->receive(
            [weak = weak_from_this(), source = std::weak_ptr(task)](const std::optional<SocketMessage>& message) {
                const auto core = weak.lock();
                if (!core)
                    return;
                if (message)
                    core->received(*message);
                else
                    core->failed(source.lock());
            });
    }

    void received(const SocketMessage& message) {
        m_isConnected = true;
        if (message.kind == SocketMessage::Kind::text)
            handle(relayMessage(message.payload));
        // The present connection, which need not be the one that delivered this message.
        if (const TaskPointer task = currentTask())
            receive(task);
    }

    void failed(const TaskPointer& source) {
        m_isConnected = false;
        // The source itself has nothing left to deliver: it needs no time for a farewell.
        const TaskPointer dropped = m_state.with([&](State& state) -> TaskPointer {
            std::erase(state.forgotten, source);
            if (state.phase != Phase::open || state.task != source)
                return nullptr;
            state.phase = Phase::waiting;
            return std::exchange(state.task, nullptr);
        });
        waitForNextAttempt();
    }

    /// Enters the phase with its connection, or none, and forgets the one before: that stays open but is no longer
    /// asked for anything new. False when the socket is stopped: only `start` ends that.
    bool enter(Phase phase, const TaskPointer& task) {
        TaskPointer before;
        const bool isEntered = m_state.with([&](State& state) {
            switch (state.phase) {
            case Phase::stopped:
                return false;
            case Phase::open:
                before = state.task;
                state.forgotten.push_back(before);
                break;
            case Phase::idle:
            case Phase::waiting:
                break;
            }
            state.phase = phase;
            state.task = task;
            return true;
        });
        letGoLater(before);
        return isEntered;
    }

    void waitForNextAttempt() {
        const bool isFirst = enter(Phase::waiting, nullptr) &&
                             m_state.with([](State& state) { return !std::exchange(state.attemptIsDue, true); });
        // One attempt serves every reason that came before it. With one for each, all connections that a relay drops at
        // once would be made anew, and a relay that stays away would be tried more often with every change of settings.
        if (!isFirst)
            return;
        m_dispatch.globalQueue().asyncAfter(reconnectDelay, [weak = weak_from_this()] {
            const auto core = weak.lock();
            if (!core)
                return;
            core->m_state.with([](State& state) { state.attemptIsDue = false; });
            core->connect();
        });
    }

    void letGoLater(const TaskPointer& task) {
        if (!task)
            return;
        m_dispatch.globalQueue().asyncAfter(farewell, [weak = weak_from_this(), which = std::weak_ptr(task)] {
            const auto core = weak.lock();
            const TaskPointer last = which.lock();
            if (core && last)
                core->m_state.with([&](State& state) { std::erase(state.forgotten, last); });
        });
    }

    void handle(const RelayMessage& message) {
        std::visit(Overloaded{[](std::monostate) {},
                              [&](const QList<RelayDecision>& decisions) {
                                  for (const RelayDecision& decision : decisions)
                                      m_callbacks.onDecision(decision.requestId, decision.decision);
                              },
                              [&](const RelayTerminalInput& input) { m_callbacks.onInput(input.text); },
                              [&](const RelayTerminalSize& size) { m_callbacks.onResize(size.columns, size.rows); },
                              [&](RelayNewShell) {
                                  m_callbacks.onNewShell();
                              }},
                   message);
    }

    Dispatch& m_dispatch;
    SocketTransport& m_transport;
    const Callbacks m_callbacks;
    Guarded<State> m_state;
    std::atomic<bool> m_isConnected = false;
};

RelaySocket::RelaySocket(Dispatch& dispatch, SocketTransport& transport, Callbacks callbacks)
    : m_core(std::make_shared<Core>(dispatch, transport, std::move(callbacks))) {
}

RelaySocket::~RelaySocket() = default;

void RelaySocket::start() {
    m_core->start();
}

void RelaySocket::stop() {
    m_core->stop();
}

void RelaySocket::reconnect() {
    m_core->reconnect();
}

void RelaySocket::sendHello() {
    m_core->sendHello();
}

void RelaySocket::sendTermOut(const QString& text, Task onTaken) {
    m_core->sendTermOut(text, std::move(onTaken));
}

bool RelaySocket::isConnected() const {
    return m_core->isConnected();
}

std::optional<QUrl> RelaySocket::wsURL(const QString& base) {
    QString text = trimBlanks(base);
    if (text.startsWith(QLatin1String("https://")))
        text.replace(0, 5, QStringLiteral("wss"));
    else if (text.startsWith(QLatin1String("http://")))
        text.replace(0, 4, QStringLiteral("ws"));
    else
        return std::nullopt;
    while (text.endsWith(u'/'))
        text.chop(1);
    const QUrl url(text + QStringLiteral("/ws-mac"), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

} // namespace pelorin
