// Memory for the bytes of sections, which may be hundreds of megabytes. From 4 MiB on it is aligned
// to huge pages, so the system can use them: one page fault instead of 512.
#pragma once

#include <sys/mman.h>

#include <new>
#include <vector>

/// An allocator that does not clear new bytes: that would take as long as reading them from the
/// file.
template <class T>
struct uncleared {
    using value_type = T;
    static constexpr size_t large = 4 << 20;
    static constexpr std::align_val_t huge_page{2 << 20};

    uncleared() = default;
    template <class U>
    uncleared(const uncleared<U>&) noexcept {}

    T* allocate(size_t count) {
        const size_t size = count * sizeof(T);
        if (size < large) return static_cast<T*>(operator new(size));
        void* const at = operator new(size, huge_page);
        madvise(at, size, MADV_HUGEPAGE);
        return static_cast<T*>(at);
    }
    void deallocate(T* at, size_t count) noexcept {
        if (count * sizeof(T) < large) return operator delete(at);
        operator delete(at, huge_page);
    }
    void construct(T*) noexcept {}
    bool operator==(const uncleared&) const noexcept { return true; }
    bool operator!=(const uncleared&) const noexcept { return false; }
};

/// A vector whose new bytes are undefined until they are written.
using byte_vector = std::vector<char, uncleared<char>>;
