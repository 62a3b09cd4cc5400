#pragma once

#include <mutex>
#include <utility>

namespace pelorin {

/// A value that several threads share and that cannot be reached without its lock. Keep the function short and call
/// nothing foreign in it: no callback ever runs under a lock.
template <class Value>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(Value value) : m_value(std::move(value)) {}

    /// Calls `function` with the value while the lock is held and returns what it returns.
    template <class Function>
    decltype(auto) with(Function&& function) {
        const std::lock_guard lock(m_mutex);
        return std::forward<Function>(function)(m_value);
    }

    /// A copy of the value.
    Value copy() const {
        const std::lock_guard lock(m_mutex);
        return m_value;
    }

    /// Replaces the value.
    void set(Value value) {
        const std::lock_guard lock(m_mutex);
        m_value = std::move(value);
    }

private:
    mutable std::mutex m_mutex;
    Value m_value{};
};

} // namespace pelorin
