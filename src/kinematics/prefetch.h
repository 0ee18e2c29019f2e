// Asking for memory ahead of its use. Link records are large and lie far apart, so each pass
// over the links waits on every record it touches; a pass that knows which records come next
// asks for them a few links early, and the waits overlap.
#pragma once

#include <cstddef>

namespace orv {

// How many links ahead a pass asks for records.
constexpr size_t kPrefetchAhead = 8;

inline void prefetch(const void* p) {
#if defined(__GNUC__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
}

}  // namespace orv
