#pragma once

#include <cstdlib>
#include <sys/resource.h>

namespace pelorin {

/// Sets the soft limit of open descriptors, and puts it back when it is destroyed.
class SoftDescriptorLimit {
public:
    explicit SoftDescriptorLimit(rlim_t limit) {
        if (getrlimit(RLIMIT_NOFILE, &m_before) != 0)
            std::abort();
        const rlimit limited{limit, m_before.rlim_max};
        if (setrlimit(RLIMIT_NOFILE, &limited) != 0)
            std::abort();
    }
    ~SoftDescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    SoftDescriptorLimit(const SoftDescriptorLimit&) = delete;
    SoftDescriptorLimit& operator=(const SoftDescriptorLimit&) = delete;

    /// What the soft limit can be raised to.
    rlim_t hardLimit() const { return m_before.rlim_max; }

    /// The present soft limit.
    static rlim_t present() {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        return limit.rlim_cur;
    }

private:
    rlimit m_before{};
};

} // namespace pelorin
