#include "BeaconryKit/platform/BackgroundWriter.h"

#include "BeaconryKit/platform/DescriptorLoop.h"

#include <QByteArray>
#include <asio/posix/stream_descriptor.hpp>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <unistd.h>

namespace pelorin {

namespace {

/// Writes as much as the descriptor takes now. How much that was, or nothing when it cannot be written to any more.
std::optional<qsizetype> writeNow(int descriptor, QByteArrayView bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            write(descriptor, bytes.data() + written, static_cast<std::size_t>(bytes.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno == EAGAIN)
            break;
        if (count < 0)
            return std::nullopt;
        written += count;
    }
    return written;
}

} // namespace

struct BackgroundWriter::State : std::enable_shared_from_this<State> {
    explicit State(qsizetype mostWaiting) : limit(mostWaiting) {}

    const qsizetype limit;
    std::mutex mutex;
    QByteArray waiting;
    // There as long as something waits, over a duplicate: the descriptor itself may be watched for reading.
    std::optional<asio::posix::stream_descriptor> stream;

    /// Has what waits follow, or forgets it where the system refuses. Needs the lock.
    void follow(const FileDescriptor& descriptor) {
        asio::io_context* const loop = descriptorLoop();
        const int duplicate = loop ? fcntl(descriptor.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
        if (duplicate < 0) {
            end();
            return;
        }
        asio::error_code error;
        stream.emplace(*loop);
        stream->assign(duplicate, error);
        if (error) {
            close(duplicate);
            end();
            return;
        }
        awaitRoom();
    }

    void awaitRoom() {
        stream->async_wait(asio::posix::descriptor_base::wait_write,
                           [self = shared_from_this()](const asio::error_code& error) {
                               const std::lock_guard lock(self->mutex);
                               if (!error && self->stream)
                                   self->drain();
                           });
    }

    void drain() {
        const auto written = writeNow(stream->native_handle(), waiting);
        waiting.remove(0, written.value_or(waiting.size()));
        if (waiting.isEmpty())
            end();
        else
            awaitRoom();
    }

    void end() {
        waiting.clear();
        stream.reset();
    }
};

BackgroundWriter::BackgroundWriter(std::shared_ptr<const FileDescriptor> descriptor, qsizetype limit)
    : m_descriptor(std::move(descriptor)), m_state(std::make_shared<State>(limit)) {
}

BackgroundWriter::~BackgroundWriter() {
    const std::lock_guard lock(m_state->mutex);
    m_state->end();
}

void BackgroundWriter::write(QByteArrayView bytes) {
    const std::lock_guard lock(m_state->mutex);
    if (m_state->waiting.isEmpty()) {
        const auto written = writeNow(m_descriptor->number(), bytes);
        bytes = bytes.sliced(written.value_or(bytes.size()));
    }
    const qsizetype room = m_state->limit - m_state->waiting.size();
    m_state->waiting.append(bytes.first(std::min(room, bytes.size())));
    if (!m_state->waiting.isEmpty() && !m_state->stream)
        m_state->follow(*m_descriptor);
}

} // namespace pelorin
