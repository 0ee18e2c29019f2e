// Standard containers whose memory comes from checkedAlloc: running out of memory ends the
// process with the library's message instead of throwing through an export.
#pragma once

#include <cstddef>
#include <vector>

#include "core/checked_alloc.h"

namespace orv {

template <typename T>
struct CheckedAllocator {
    using value_type = T;

    CheckedAllocator() = default;
    template <typename U>
    CheckedAllocator(const CheckedAllocator<U>&) {}

    T* allocate(size_t n) { return static_cast<T*>(checkedAlloc(n * sizeof(T))); }
    void deallocate(T* p, size_t) { checkedFree(p); }

    template <typename U>
    bool operator==(const CheckedAllocator<U>&) const {
        return true;
    }
    template <typename U>
    bool operator!=(const CheckedAllocator<U>&) const {
        return false;
    }
};

template <typename T>
using CheckedVector = std::vector<T, CheckedAllocator<T>>;

}  // namespace orv
