#pragma once

#include <unistd.h>
#include <utility>

namespace pelorin::setup {

/// Owns a descriptor of the system.
class Descriptor {
public:
    Descriptor() = default;
    /// Takes it over; one below 0 is none.
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() {
        if (isOpen())
            close(m_descriptor);
    }

    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

} // namespace pelorin::setup
