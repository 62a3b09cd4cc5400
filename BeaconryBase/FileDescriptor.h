#pragma once

#include <optional>
#include <utility>

namespace pelorin {

/// Owns an open descriptor and closes it. None of the descriptors made here passes to a child process, and none takes
/// the number of a standard stream that happens to be closed.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes over the descriptor; a negative one is none.
    explicit FileDescriptor(int number) : m_number(number) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;

    /// The number, or -1.
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }
    /// Closes it, if it is open.
    void reset();

    /// A second descriptor of the same open file, close-on-exec; a closed one when the system has no more.
    FileDescriptor duplicate() const;

    /// The descriptor itself if its number is above those of the standard streams, else a duplicate that is.
    static FileDescriptor aboveStandardStreams(FileDescriptor descriptor);

private:
    int m_number = -1;
};

/// The two ends of a pipe, both close-on-exec.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    /// Nothing when the system has no more descriptors.
    static std::optional<Pipe> make();
};

/// Makes reads and writes of the open file return instead of waiting. False when the system refuses.
bool makeNonBlocking(const FileDescriptor& descriptor);

} // namespace pelorin
