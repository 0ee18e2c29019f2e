// Asking for memory ahead of its use. Link records are large and lie far apart, and a pass over
// the links is bound by how many of their lines memory delivers: a pass that knows which
// records come next asks for the lines it will read a few links early, so that the waits
// overlap, and for no others.
#pragma once

namespace orv {

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
