// What little the helper needs of the C++ library at run time, for the build that links the small C library musl and
// nothing else: musl has no C++ library of its own, and the system's is made for another C library.
//
// Where the C++ library would throw, the hook ends as it does when anything else goes wrong.

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <unistd.h>

void* operator new(std::size_t size) {
    void* memory = std::malloc(size);
    if (!memory)
        _exit(0);
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

// Strings are instantiated where they are used, but the headers leave this to the library.
template class std::allocator<char>;

namespace std {

void __throw_bad_alloc() {
    _exit(0);
}

void __throw_bad_array_new_length() {
    _exit(0);
}

void __throw_length_error(const char*) {
    _exit(0);
}

void __throw_logic_error(const char*) {
    _exit(0);
}

void __throw_out_of_range_fmt(const char*, ...) {
    _exit(0);
}

} // namespace std
