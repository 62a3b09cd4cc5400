#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"

#include <QTextBoundaryFinder>

#include <cstdint>
#include <cstdlib>

// Both records read any bytes without failing otherwise than by their error, agree on whether a body is one, and keep
// the summary within its length.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pelorin;
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto ask = AskEvent::decode(bytes, WallTime{});
    const auto session = SessionInfo::decode(bytes);
    const auto sessionId = sessionIdOf(bytes);
    if (ask.has_value() != session.has_value() || ask.has_value() != sessionId.has_value())
        std::abort();
    if (!ask)
        return 0;
    if (ask->sessionId != session->sessionId || ask->sessionId != *sessionId)
        std::abort();

    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, ask->actionSummary);
    int characters = 0;
    while (finder.toNextBoundary() > 0)
        ++characters;
    if (characters > 201)
        std::abort();
    if (ask->id().isEmpty() && !(ask->requestId.isEmpty() && ask->sessionId.isEmpty()))
        std::abort();
    (void)ask->displayMessage();
    (void)ask->projectName();
    (void)ask->isActionRequired();
    (void)ask->ttyDevicePath();
    (void)session->displayName();
    return 0;
}
