// Preloaded into a program: after as many allocations as FAIL_MALLOC says, none succeeds any more.

#include <cerrno>
#include <cstddef>
#include <cstdlib>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
}

namespace {

/// Counts an allocation; true if it is to fail.
bool fails() {
    constexpr long unknown = -1;
    static long left = unknown;
    if (left == unknown) {
        const char *number = std::getenv("FAIL_MALLOC");
        left = number != nullptr ? std::atol(number) : 0;
    }
    if (left == 0) {
        errno = ENOMEM;
        return true;
    }
    --left;
    return false;
}

} // namespace

extern "C" {

void *malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *memory, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}

} // extern "C"
