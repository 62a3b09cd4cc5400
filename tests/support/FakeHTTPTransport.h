#pragma once

#include "BeaconryKit/relay/HTTPTransport.h"

#include <QList>

namespace pelorin {

/// Notes requests and lets the test answer them when it likes.
class FakeHTTPTransport final : public HTTPTransport {
public:
    struct Sent {
        HTTPRequest request;
        HTTPCompletion completion;

        void answer(const QByteArray& body, int status = 200) const { completion(HTTPReply{status, body}); }
        void fail() const { completion(std::nullopt); }
    };

    void send(const HTTPRequest& request, HTTPCompletion completion = {}) override {
        sent.append({request, std::move(completion)});
    }

    QList<Sent> sent;
};

} // namespace pelorin
