#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/HTTPTransport.h"
#include "BeaconryKit/relay/RelayConfig.h"
#include "BeaconryKit/relay/RelayMessages.h"

#include <QJsonArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// The relay over HTTP: pushes the open asks, polls for what phones have decided, lists and removes phones. Keeps no
/// asks of its own. Owned by the application; its operations belong to the main thread. Nothing is sent with an address
/// that `base` refuses or with an empty token. Failures are silent: there are no retries and no messages to the user.
class RelayClient {
public:
    /// The relay to poll now; nothing to leave one poll out. Called on the poll queue.
    using Provider = std::function<std::optional<RelayConfig>()>;
    /// Takes one decision. Called on the main queue.
    using OnDecision = std::function<void(const QString& requestId, const QString& decision)>;
    /// Takes the phones, or nothing when the relay did not list them. Called on the main queue.
    using OnDevices = std::function<void(const std::optional<QList<RelayDevice>>& devices)>;

    enum class Removal {
        done,
        /// Nothing was sent, no answer came, or its status was no success.
        failed
    };
    using OnRemoval = std::function<void(Removal removal)>;

    /// How long a push, a clear or a poll may take.
    static constexpr std::chrono::seconds requestTimeout{10};
    /// How long listing or removing phones may take.
    static constexpr std::chrono::seconds deviceTimeout{8};

    /// Both must outlive the client.
    RelayClient(Dispatch& dispatch, HTTPTransport& transport);
    /// Stops polling.
    ~RelayClient();
    RelayClient(const RelayClient&) = delete;
    RelayClient& operator=(const RelayClient&) = delete;

    /// Tells the relay the whole list of open asks (see `relayAsks`); an empty one says that nothing waits. Pushes
    /// reach the relay in order; while one is under way only the newest of those after it waits.
    void sync(const QJsonArray& asks, const QString& url, const QString& token);

    /// Tells the relay that one ask is gone.
    void clear(const QString& id, const QString& url, const QString& token);

    /// Polls every `interval` seconds (more than 0), first after one interval, with whatever `provider` then gives. A
    /// slow answer does not delay the next poll. Replaces the polling that was under way.
    void startPolling(double interval, Provider provider, OnDecision onDecision);

    /// Ends polling. Answers that are under way still arrive.
    void stopPolling();

    /// Asks for the phones of this computer's instance. `onDevices` is called exactly once.
    void devices(const QString& url, const QString& token, OnDevices onDevices);

    /// Takes a phone off the list: it gets no more notifications. `onRemoval` is called exactly once.
    void removeDevice(const QString& id, const QString& url, const QString& token, OnRemoval onRemoval);

    /// The base address in the text: blanks at its ends do not count, and its scheme is exactly "http" or "https", in
    /// lower case. Nothing when it cannot be used.
    static std::optional<QUrl> base(const QString& url);

private:
    struct Polling;

    Dispatch& m_dispatch;
    HTTPTransport& m_transport;
    // Made by the first polling: it is a thread.
    std::unique_ptr<TaskQueue> m_pollQueue;
    std::shared_ptr<Polling> m_polling;
    std::unique_ptr<RepeatingTimer> m_pollTimer;
};

} // namespace pelorin
