#include "BeaconryKit/service/RequestFraming.h"

#include <cstdint>
#include <cstdlib>
#include <optional>

// However the bytes are cut, the same request comes out of them.

namespace {

using pelorin::HookRequest;
using pelorin::RequestFraming;

struct Outcome {
    RequestFraming::Progress progress = RequestFraming::Progress::incomplete;
    HookRequest request;

    bool operator==(const Outcome&) const = default;
};

template <class NextPiece>
Outcome frame(QByteArrayView bytes, NextPiece nextPiece) {
    RequestFraming framing;
    while (!bytes.isEmpty()) {
        const QByteArrayView piece = bytes.first(std::min<qsizetype>(bytes.size(), nextPiece()));
        bytes = bytes.sliced(piece.size());
        const auto progress = framing.append(piece);
        if (progress == RequestFraming::Progress::complete)
            return {progress, framing.takeRequest()};
        if (progress == RequestFraming::Progress::refused)
            return {progress, {}};
    }
    return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    // The first byte seeds the cuts.
    std::uint32_t state = data[0] + 1U;
    const QByteArrayView bytes(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
    const Outcome whole = frame(bytes, [&] { return bytes.size(); });
    const Outcome pieces = frame(bytes, [&] {
        state = state * 1664525U + 1013904223U;
        return static_cast<qsizetype>(1 + (state >> 24) % 37);
    });
    if (!(whole == pieces))
        std::abort();
    if (whole.progress == RequestFraming::Progress::complete && whole.request.path.isEmpty())
        std::abort();
    return 0;
}
