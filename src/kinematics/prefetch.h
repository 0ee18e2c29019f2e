// Asking for memory ahead of its use. Link records are large and lie far apart, and a pass over
// the links is bound by how many of their lines memory delivers: a pass that knows which
// records come next asks for the lines it will read a few links early, so that the waits
// overlap, and for no others.
#pragma once

#include <cstddef>

#include "kinematics/link_transform.h"
#include "orvanta.h"

namespace orv {

// A hint, written as an instruction the compiler keeps: the compiler's own prefetch builtin
// counts as no effect at all, and a call to a helper whose only effects are such hints would
// be dropped whole.
inline void prefetch(const void* p) {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    __asm__ volatile("prefetcht0 %0" : : "m"(*static_cast<const char*>(p)));
#elif defined(__GNUC__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
}

// A field of a record taken by address alone: a remembered record may be gone since, and its
// lines are only asked for, never read.
inline void prefetchField(const void* record, size_t offset) {
    prefetch(static_cast<const char*>(record) + offset);
}

// The lines of a link record that hold its axis flags, values, offsets, ratio and axis points.
inline void prefetchLinkValues(const void* link) {
    for (size_t offset : {offsetof(Lnk, lin), offsetof(Lnk, rotOffset), offsetof(Lnk, axisB)})
        prefetchField(link, offset);
}

// Every line of an axis's points and of both its frames.
inline void prefetchAxisFrames(const AxisCache& axis) {
    prefetch(&axis);
    for (const Mat4* m : {&axis.line.frame, &axis.line.inverse}) {
        prefetch(&m->m[0]);
        prefetch(&m->m[8]);
        prefetch(&m->m[15]);
    }
}

}  // namespace orv
