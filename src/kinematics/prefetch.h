// Asking for memory ahead of its use. Link records are large and lie far apart, so each pass
// over the links waits on every record it touches; a pass that knows which records come next
// asks for them a few links early, and the waits overlap.
#pragma once

#include <cstddef>

namespace orv {

// How many links ahead a pass asks for records.
constexpr size_t kPrefetchAhead = 8;

// A load whose value is not used. A prefetch hint for a page whose address the processor has
// not translated lately may be dropped, as it mostly is for records that lie pages apart; a
// load is not, and the hints that follow it for the same page then land.
inline void touch(const void* p) {
    (void)*static_cast<const volatile char*>(p);
}

// A hint, written as an instruction the compiler keeps: GCC takes __builtin_prefetch for no
// effect at all, and drops a call to a helper whose only effects are such hints.
inline void prefetch(const void* p) {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    __asm__ volatile("prefetcht0 %0" : : "m"(*static_cast<const char*>(p)));
#elif defined(__GNUC__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
}

}  // namespace orv
