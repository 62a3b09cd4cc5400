#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace pelorin {

/// A directory of a test's own, which is removed with all that it holds.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "pelorin test XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        m_path = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    /// Its name holds spaces, like those of many real directories.
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace pelorin
