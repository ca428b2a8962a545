// Memory for the bytes of sections, which may be hundreds of megabytes. A read fills it at once.
#pragma once

#include <cstddef>
#include <vector>

/// Returns `size` bytes of memory; large sizes are in huge pages if the system has them. Throws
/// std::bad_alloc.
void* allocate_pages(size_t size);

/// Frees what allocate_pages returned for the same `size`.
void free_pages(void* at, size_t size) noexcept;

/// An allocator that does not clear new bytes: that would take as long as reading them from the
/// file.
template <class T>
struct uncleared {
    using value_type = T;
    uncleared() = default;
    template <class U>
    uncleared(const uncleared<U>&) noexcept {}

    T* allocate(size_t count) { return static_cast<T*>(allocate_pages(count * sizeof(T))); }
    void deallocate(T* at, size_t count) noexcept { free_pages(at, count * sizeof(T)); }
    void construct(T*) noexcept {}
    bool operator==(const uncleared&) const noexcept { return true; }
    bool operator!=(const uncleared&) const noexcept { return false; }
};

/// A vector whose new bytes are undefined until they are written.
using byte_vector = std::vector<char, uncleared<char>>;
