#include "BeaconryApp/InstanceChannel.h"

#include <QString>

#import <Foundation/Foundation.h>

namespace pelorin {

namespace {

// Ports by name live in the user's own session, and go with the process that made them.
NSString* nameOf(quint16 port) {
    return QStringLiteral("com.pelorin.manager.%1").arg(port).toNSString();
}

class MessagePortChannel final : public InstanceChannel {
public:
    explicit MessagePortChannel(Handler onShowManager)
        : m_onShowManager(std::make_shared<Handler>(std::move(onShowManager))) {}

    ~MessagePortChannel() override {
        if (!m_port)
            return;
        CFMessagePortInvalidate(m_port);
        CFRelease(m_port);
    }

    bool open(quint16 port) {
        CFMessagePortContext context{0, this, nullptr, nullptr, nullptr};
        m_port = CFMessagePortCreateLocal(nullptr, (__bridge CFStringRef)nameOf(port), &receive, &context, nullptr);
        if (!m_port)
            return false;
        CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, m_port, 0);
        CFRunLoopAddSource(CFRunLoopGetMain(), source, kCFRunLoopCommonModes);
        CFRelease(source);
        return true;
    }

private:
    static CFDataRef receive(CFMessagePortRef, SInt32, CFDataRef data, void* context) {
        const std::weak_ptr<Handler> handler = static_cast<MessagePortChannel*>(context)->m_onShowManager;
        const QByteArray token = data ? QByteArray::fromCFData(data) : QByteArray();
        // The other copy has its reply before anything else is done.
        dispatch_async(dispatch_get_main_queue(), ^{
          if (const auto target = handler.lock())
              (*target)(token);
        });
        return CFDataCreate(nullptr, nullptr, 0);
    }

    CFMessagePortRef m_port = nullptr;
    std::shared_ptr<Handler> m_onShowManager;
};

} // namespace

std::unique_ptr<InstanceChannel> InstanceChannel::listen(quint16 port, Handler onShowManager) {
    auto channel = std::make_unique<MessagePortChannel>(std::move(onShowManager));
    return port != 0 && channel->open(port) ? std::move(channel) : nullptr;
}

bool InstanceChannel::askToShowManager(quint16 port, const QByteArray& activationToken,
                                       std::chrono::milliseconds limit) {
    CFMessagePortRef remote =
        port == 0 ? nullptr : CFMessagePortCreateRemote(nullptr, (__bridge CFStringRef)nameOf(port));
    if (!remote)
        return false;
    const CFTimeInterval seconds = std::chrono::duration<double>(limit).count();
    CFDataRef data = activationToken.toCFData();
    CFDataRef reply = nullptr;
    const SInt32 result = CFMessagePortSendRequest(remote, 0, data, seconds, seconds, kCFRunLoopDefaultMode, &reply);
    if (reply)
        CFRelease(reply);
    CFRelease(data);
    CFRelease(remote);
    return result == kCFMessagePortSuccess;
}

} // namespace pelorin
