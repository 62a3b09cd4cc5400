#pragma once

#include "BeaconryBase/FileDescriptor.h"

#include <QByteArrayView>

#include <memory>

namespace pelorin {

/// Writes to a descriptor without ever making the caller wait: what the descriptor does not take at once waits in
/// memory and follows later, in order. All operations may be called from any thread.
class BackgroundWriter {
public:
    /// The descriptor must not block. At most `limit` bytes wait; what goes beyond is lost.
    BackgroundWriter(std::shared_ptr<const FileDescriptor> descriptor, qsizetype limit);

    /// Forgets what waits. The descriptor is let go of soon after.
    ~BackgroundWriter();
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;

    /// Writes the bytes now or later. Errors are dropped, together with what waits.
    void write(QByteArrayView bytes);

private:
    struct State;

    std::shared_ptr<const FileDescriptor> m_descriptor;
    std::shared_ptr<State> m_state;
};

} // namespace pelorin
