// Linked into the fuzzed program: lets it allocate 256 MiB, counted over the whole run, and then
// answers as a full machine does. A section may claim 2 GiB, and AddressSanitizer would take the
// refusal of its own limit for a crash.
#include <cstdlib>
#include <new>

void* operator new(size_t size) {
    static size_t left = 256 << 20;
    if (size > left) throw std::bad_alloc();
    left -= size;
    return malloc(size == 0 ? 1 : size);
}

void operator delete(void* at) noexcept {
    free(at);
}

void operator delete(void* at, size_t) noexcept {
    free(at);
}
