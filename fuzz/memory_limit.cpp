// Linked into the fuzzed program: lets it allocate 256 MiB, counted over the whole run, and then
// answers as a full machine does. A section may claim 2 GiB, and AddressSanitizer would take the
// refusal of its own limit for a crash.
#include <cstdlib>
#include <new>

static void count(size_t size) {
    static size_t left = 256 << 20;
    if (size > left) throw std::bad_alloc();
    left -= size;
}

void* operator new(size_t size) {
    count(size);
    return malloc(size == 0 ? 1 : size);
}

void* operator new(size_t size, std::align_val_t align) {
    const auto step = static_cast<size_t>(align);
    count(size);
    return aligned_alloc(step, (size + step - 1) / step * step);
}

// std::stable_sort asks in this way.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* at) noexcept {
    free(at);
}

void operator delete(void* at, size_t) noexcept {
    free(at);
}

void operator delete(void* at, std::align_val_t) noexcept {
    free(at);
}
