#include "BeaconryKit/relay/NetworkTransport.h"

#include "BeaconryKit/platform/EventLoopThread.h"
#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/relay/RequestRunner.h"
#include "BeaconryKit/relay/SocketConnection.h"

#include <atomic>
#include <unordered_map>

namespace pelorin {

/// What tasks that outlive the transport may still hold.
class NetworkTransport::Core {
public:
    explicit Core(const Limits& limits)
        : m_limits(limits),
          m_thread(std::make_unique<EventLoopThread>("com.pelorin.network")),
          m_queue(m_thread->queue()),
          m_threadId(m_thread->id()) {
        post([this] {
            m_leaving = std::make_unique<QObject>();
            m_requests = std::make_unique<RequestRunner>(m_queue, m_limits);
        });
    }

    void end() {
        // Nothing may come in between the last task and the end.
        m_isOpen.with([this](bool& isOpen) {
            m_queue.async([this] {
                m_requests.reset();
                m_connections.clear();
                m_leaving.reset();
            });
            isOpen = false;
        });
        m_thread.reset();
    }

    /// Runs the task on the thread, or drops it when there is none any more. Any thread.
    void post(pelorin::Task task) {
        m_isOpen.with([&](bool isOpen) {
            if (isOpen)
                m_queue.async(std::move(task));
        });
    }

    bool isOnThread() const { return std::this_thread::get_id() == m_threadId; }

    quint64 newId() { return ++m_lastId; }

    // What follows is for the thread only.
    RequestRunner& requests() { return *m_requests; }
    void make(quint64 id, const SocketRequest& request) {
        m_connections.emplace(id, std::make_unique<SocketConnection>(request, m_limits, m_queue, m_leaving.get()));
    }
    bool isMade(quint64 id) const { return m_connections.count(id) != 0; }
    SocketConnection& connection(quint64 id) { return *m_connections.at(id); }
    void destroy(quint64 id) { m_connections.erase(id); }

private:
    const Limits m_limits;
    std::unique_ptr<EventLoopThread> m_thread;
    // Reached through no pointer to the thread: its last tasks run while that is being reset.
    TaskQueue& m_queue;
    const std::thread::id m_threadId;
    Guarded<bool> m_isOpen{true};
    std::atomic<quint64> m_lastId = 0;
    // What follows is for the thread only.
    std::unordered_map<quint64, std::unique_ptr<SocketConnection>> m_connections;
    std::unique_ptr<RequestRunner> m_requests;
    std::unique_ptr<QObject> m_leaving;
};

/// Names its connection on the thread; all that it does happens there, in the order in which it was asked for.
class NetworkTransport::Task final : public SocketTask {
public:
    Task(std::shared_ptr<Core> core, const SocketRequest& request) : m_core(std::move(core)), m_id(m_core->newId()) {
        m_core->post([core = m_core.get(), id = m_id, request] { core->make(id, request); });
    }
    ~Task() override {
        m_core->post([core = m_core.get(), id = m_id] { core->destroy(id); });
    }

    void resume() override {
        m_core->post([core = m_core.get(), id = m_id] { core->connection(id).resume(); });
    }
    void send(const QString& text) override {
        m_core->post([core = m_core.get(), id = m_id, text] { core->connection(id).send(text); });
    }
    void sendInTurn(const QString& text, pelorin::Task onTaken) override {
        m_core->post([core = m_core.get(), id = m_id, text, onTaken = std::move(onTaken)]() mutable {
            core->connection(id).sendInTurn(text, std::move(onTaken));
        });
    }
    void receive(SocketReceiver receiver) override {
        // Who asks again out of a receiver gets what the socket has read besides without another turn of the loop.
        if (m_core->isOnThread() && m_core->isMade(m_id)) {
            m_core->connection(m_id).receive(std::move(receiver));
            return;
        }
        m_core->post([core = m_core.get(), id = m_id, receiver = std::move(receiver)]() mutable {
            core->connection(id).receive(std::move(receiver));
        });
    }
    void cancel(SocketCloseCode code) override {
        m_core->post([core = m_core.get(), id = m_id, code] { core->connection(id).cancel(code); });
    }

private:
    const std::shared_ptr<Core> m_core;
    const quint64 m_id;
};

NetworkTransport::NetworkTransport() : NetworkTransport(Limits{}) {
}

NetworkTransport::NetworkTransport(const Limits& limits) : m_limits(limits) {
}

NetworkTransport::~NetworkTransport() {
    if (const auto core = m_core.copy())
        core->end();
}

std::shared_ptr<NetworkTransport::Core> NetworkTransport::core() {
    return m_core.with([this](std::shared_ptr<Core>& core) {
        if (!core)
            core = std::make_shared<Core>(m_limits);
        return core;
    });
}

void NetworkTransport::send(const HTTPRequest& request, HTTPCompletion completion) {
    const auto core = this->core();
    core->post([core = core.get(), request, completion = std::move(completion)]() mutable {
        core->requests().run(request, std::move(completion));
    });
}

std::shared_ptr<SocketTask> NetworkTransport::makeTask(const SocketRequest& request) {
    return std::make_shared<Task>(core(), request);
}

} // namespace pelorin
