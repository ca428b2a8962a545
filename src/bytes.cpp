// Memory of 4 MiB and more is aligned to huge pages, so the system can use them: one page fault
// instead of 512.
#include "bytes.h"

#include <sys/mman.h>

#include <new>

constexpr size_t large = 4 << 20;
constexpr std::align_val_t huge_page{2 << 20};

void* allocate_pages(size_t size) {
    if (size < large) return operator new(size);
    void* const at = operator new(size, huge_page);
    madvise(at, size, MADV_HUGEPAGE);
    return at;
}

void free_pages(void* at, size_t size) noexcept {
    if (size < large) return operator delete(at);
    operator delete(at, huge_page);
}
