#include "BeaconryKit/platform/Programs.h"

#include "BeaconryBase/FileDescriptor.h"

#include "BeaconryKit/platform/DescriptorLoop.h"

#include <asio/posix/stream_descriptor.hpp>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <mutex>
#include <sys/ioctl.h>
#include <unistd.h>

namespace pelorin {

namespace {

using Moment = std::chrono::steady_clock::time_point;

/// Reads a pipe on the descriptor loop, so that a program never waits for its output to be read.
class OutputReader : public std::enable_shared_from_this<OutputReader> {
public:
    /// Null when the system has no more of what that takes.
    static std::shared_ptr<OutputReader> start(FileDescriptor pipe, qsizetype limit) {
        asio::io_context* const loop = descriptorLoop();
        if (!loop || !makeNonBlocking(pipe))
            return nullptr;
        auto reader = std::make_shared<OutputReader>(*loop, std::move(pipe), limit);
        asio::error_code error;
        reader->m_stream.assign(reader->m_pipe.number(), error);
        if (error)
            return nullptr;
        reader->awaitMore();
        return reader;
    }

    OutputReader(asio::io_context& loop, FileDescriptor pipe, qsizetype limit)
        : m_limit(limit), m_pipe(std::move(pipe)), m_stream(loop) {}

    /// Waits for the end of the output, but not beyond the deadline. Whether it came, within the limit.
    bool waitForEnd(Moment deadline) {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, deadline, [this] { return m_progress != Progress::underWay; });
        return m_progress == Progress::complete;
    }

    /// Closes the pipe. Everything that was in it by then.
    QByteArray finish() {
        const std::lock_guard lock(m_mutex);
        stopWatching();
        int left = 0;
        if (ioctl(m_pipe.number(), FIONREAD, &left) == 0 && left > 0)
            read(left);
        m_pipe.reset();
        return std::move(m_bytes);
    }

private:
    enum class Progress { underWay, complete, failed };

    /// Needs the lock, once others know the reader.
    void awaitMore() {
        m_stream.async_wait(asio::posix::descriptor_base::wait_read,
                            [self = shared_from_this()](const asio::error_code& error) {
                                const std::lock_guard lock(self->m_mutex);
                                if (!error && self->m_stream.is_open())
                                    self->readOnce();
                            });
    }

    /// No more than a piece at once: others use the loop as well.
    void readOnce() {
        constexpr qsizetype piece = 65536;
        const ssize_t count = read(piece);
        if (m_bytes.size() <= m_limit && (count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR)))) {
            awaitMore();
            return;
        }
        stopWatching();
        m_progress = count == 0 ? Progress::complete : Progress::failed;
        m_changed.notify_all();
    }

    ssize_t read(qsizetype atMost) {
        const qsizetype size = m_bytes.size();
        m_bytes.resize(size + atMost);
        const ssize_t count = ::read(m_pipe.number(), m_bytes.data() + size, static_cast<std::size_t>(atMost));
        const int error = errno;
        m_bytes.resize(size + std::max<ssize_t>(count, 0));
        errno = error;
        return count;
    }

    /// The descriptor is the pipe's, and stays open.
    void stopWatching() {
        if (m_stream.is_open())
            m_stream.release();
    }

    const qsizetype m_limit;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    FileDescriptor m_pipe;
    asio::posix::stream_descriptor m_stream;
    QByteArray m_bytes;
    Progress m_progress = Progress::underWay;
};

} // namespace

tl::expected<void, std::error_code> launch(ChildProcess::Launch launch) {
    return ChildProcess::start(std::move(launch)).map([](const ChildProcess&) {});
}

std::optional<QByteArray> capture(ChildProcess::Launch launch, Duration timeout, qsizetype limit) {
    const Moment deadline = std::chrono::steady_clock::now() + timeout;
    auto pipe = Pipe::make();
    const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const auto reader = pipe && nowhere.isOpen() ? OutputReader::start(std::move(pipe->readEnd), limit) : nullptr;
    if (!reader)
        return std::nullopt;
    launch.standardOutput = pipe->writeEnd.number();
    launch.standardError = nowhere.number();
    launch.group = ChildProcess::Group::own;
    const auto child = ChildProcess::start(std::move(launch));
    pipe->writeEnd.reset();
    const bool isComplete = child && reader->waitForEnd(deadline) && child->waitUntil(deadline);
    if (child && !isComplete) {
        child->killGroup();
        // A killed child is gone in no time, unless the system itself is stuck; it is then waited for without us.
        child->waitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(100));
    }
    QByteArray bytes = reader->finish();
    return isComplete ? std::optional(std::move(bytes)) : std::nullopt;
}

tl::expected<ProgramOutcome, std::error_code> capture(ChildProcess::Launch launch) {
    auto pipe = Pipe::make();
    const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    constexpr qsizetype limit = std::numeric_limits<qsizetype>::max();
    const auto reader = pipe && nothing.isOpen() ? OutputReader::start(std::move(pipe->readEnd), limit) : nullptr;
    if (!reader)
        return tl::unexpected(std::error_code(errno, std::generic_category()));
    launch.standardInput = nothing.number();
    launch.standardOutput = pipe->writeEnd.number();
    launch.standardError = pipe->writeEnd.number();
    const auto child = ChildProcess::start(std::move(launch));
    pipe->writeEnd.reset();
    if (child)
        child->waitUntil(Moment::max());
    QByteArray output = reader->finish();
    if (!child)
        return tl::unexpected(child.error());
    return ProgramOutcome{*child->status(), std::move(output)};
}

} // namespace pelorin
