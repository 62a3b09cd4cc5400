#pragma once

#include <unistd.h>
#include <utility>

namespace pelorin {

/// Owns a descriptor of the system.
class TestDescriptor {
public:
    TestDescriptor() = default;
    explicit TestDescriptor(int descriptor) : m_descriptor(descriptor) {}
    TestDescriptor(TestDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    TestDescriptor& operator=(TestDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~TestDescriptor() { close(); }

    /// The descriptor; below 0 when there is none.
    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }

    void close() {
        if (isOpen())
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor = -1;
};

} // namespace pelorin
