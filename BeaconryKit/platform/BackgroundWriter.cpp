#include "BeaconryKit/platform/BackgroundWriter.h"

#include "BeaconryKit/platform/ThreadName.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <optional>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace pelorin {

// Does not hold the descriptor: only the writer and its thread do.
struct BackgroundWriter::State {
    explicit State(qsizetype mostWaiting) : limit(mostWaiting) {}

    const qsizetype limit;
    std::mutex mutex;
    QByteArray waiting;
    // There is one as long as a thread drains; closing its write end wakes the thread.
    std::optional<FileDescriptor> wake;
    bool isEnded = false;
};

namespace {

/// Writes as much as the descriptor takes now. How much that was, or nothing when it cannot be written to any more.
std::optional<qsizetype> writeNow(const FileDescriptor& descriptor, QByteArrayView bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            write(descriptor.number(), bytes.data() + written, static_cast<std::size_t>(bytes.size() - written));
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

BackgroundWriter::BackgroundWriter(std::shared_ptr<const FileDescriptor> descriptor, qsizetype limit)
    : m_descriptor(std::move(descriptor)), m_state(std::make_shared<State>(limit)) {
}

BackgroundWriter::~BackgroundWriter() {
    const std::lock_guard lock(m_state->mutex);
    m_state->isEnded = true;
    m_state->wake.reset();
}

void BackgroundWriter::write(QByteArrayView bytes) {
    const std::lock_guard lock(m_state->mutex);
    if (m_state->waiting.isEmpty()) {
        const auto written = writeNow(*m_descriptor, bytes);
        bytes = bytes.sliced(written.value_or(bytes.size()));
    }
    const qsizetype room = m_state->limit - m_state->waiting.size();
    m_state->waiting.append(bytes.first(std::min(room, bytes.size())));
    if (m_state->waiting.isEmpty() || m_state->wake)
        return;
    auto wake = Pipe::make();
    if (wake) {
        m_state->wake = std::move(wake->writeEnd);
        try {
            std::thread([state = m_state, descriptor = m_descriptor,
                         wakeEnd = std::make_shared<const FileDescriptor>(std::move(wake->readEnd))] {
                setCurrentThreadName("com.pelorin.writer");
                drain(state, *descriptor, wakeEnd->number());
            }).detach();
            return;
        } catch (const std::system_error&) {
            m_state->wake.reset();
        }
    }
    // Without a thread nothing can follow later.
    m_state->waiting.clear();
}

void BackgroundWriter::drain(const std::shared_ptr<State>& state, const FileDescriptor& descriptor, int wake) {
    while (true) {
        pollfd watched[]{{descriptor.number(), POLLOUT, 0}, {wake, POLLIN, 0}};
        poll(watched, 2, -1);
        const std::lock_guard lock(state->mutex);
        if (state->isEnded)
            return;
        const auto written = writeNow(descriptor, state->waiting);
        state->waiting.remove(0, written.value_or(state->waiting.size()));
        if (state->waiting.isEmpty()) {
            state->wake.reset();
            return;
        }
    }
}

} // namespace pelorin
