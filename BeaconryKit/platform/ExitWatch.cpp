#include "BeaconryKit/platform/ExitWatch.h"

#include "BeaconryBase/ProcessFacts.h"

#include "BeaconryKit/platform/DescriptorLoop.h"
#include "BeaconryKit/platform/ThreadName.h"

#include <asio/posix/stream_descriptor.hpp>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace pelorin {

namespace {

#if defined(SYS_pidfd_open)
bool isStill(pid_t process, std::uint64_t startTime) {
    const auto facts = lookUpProcess(process);
    return facts && startTime != 0 && facts->startTime == startTime;
}

/// By a descriptor that stands for the process, where the system has such. `isMeant` is asked once the descriptor is
/// open: the process that it stands for can change no longer.
template <class IsMeant>
bool watchByDescriptor(pid_t process, Task& onExit, IsMeant isMeant) {
    asio::io_context* const loop = descriptorLoop();
    const int number = loop ? static_cast<int>(syscall(SYS_pidfd_open, process, 0)) : -1;
    if (number < 0)
        return false;
    asio::error_code error;
    const auto descriptor = std::make_shared<asio::posix::stream_descriptor>(*loop);
    if (isMeant())
        descriptor->assign(number, error);
    if (!descriptor->is_open()) {
        close(number);
        return false;
    }
    descriptor->async_wait(asio::posix::descriptor_base::wait_read,
                           [descriptor, task = std::exchange(onExit, nullptr)](const asio::error_code&) {
                               asio::error_code ignored;
                               descriptor->close(ignored);
                               task();
                           });
    return true;
}
#endif

bool hasEnded(pid_t child) {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT | WNOHANG) == 0 && info.si_pid == child;
}

/// One thread that waits for all children at once, where there are no such descriptors.
class WaitingThread {
public:
    static WaitingThread& shared() {
        // Never destroyed: its thread may still run when the program's last destructors do.
        static WaitingThread& thread = *new WaitingThread;
        return thread;
    }

    bool watch(pid_t child, Task& onExit) {
        const std::lock_guard lock(m_mutex);
        if (!m_isRunning) {
            try {
                std::thread([this] {
                    setCurrentThreadName("com.pelorin.exits");
                    run();
                }).detach();
            } catch (const std::system_error&) {
                return false;
            }
            m_isRunning = true;
        }
        m_tasks.emplace(child, std::move(onExit));
        m_changed.notify_one();
        return true;
    }

private:
    void run() {
        while (true) {
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return !m_tasks.empty(); });
            }
            siginfo_t info{};
            waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
            const std::vector<Task> tasks = takeEnded();
            for (const Task& task : tasks)
                task();
            // What has ended is nobody's we know, or keeps its number: it must not hide the next.
            if (tasks.empty())
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    std::vector<Task> takeEnded() {
        std::vector<Task> tasks;
        const std::lock_guard lock(m_mutex);
        for (auto entry = m_tasks.begin(); entry != m_tasks.end();) {
            if (hasEnded(entry->first)) {
                tasks.push_back(std::move(entry->second));
                entry = m_tasks.erase(entry);
            } else {
                ++entry;
            }
        }
        return tasks;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<pid_t, Task> m_tasks;
    bool m_isRunning = false;
};

} // namespace

bool watchForExit(pid_t child, Task onExit) {
#if defined(SYS_pidfd_open)
    if (watchByDescriptor(child, onExit, [] { return true; }))
        return true;
#endif
    return WaitingThread::shared().watch(child, onExit);
}

bool watchForExit(pid_t process, std::uint64_t startTime, Task onExit) {
#if defined(SYS_pidfd_open)
    return watchByDescriptor(process, onExit, [=] { return isStill(process, startTime); });
#else
    static_cast<void>(process);
    static_cast<void>(startTime);
    static_cast<void>(onExit);
    return false;
#endif
}

} // namespace pelorin
