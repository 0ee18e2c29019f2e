// The link and transmission info readers as the format defines them: every key looked up on
// its own, in a fresh 32,768-byte copy of the whole text split with strtok. Kept as the
// reference that the library's one-pass reader must match byte for byte (tests, the
// differential fuzz target and the benchmark).
//
// The number readers are parameters: the library's own (which read as the Windows runtime
// does) or the C runtime's atoi and atof, which under Windows are the reference themselves.
// Texts must be shorter than 32,768 characters. Unlike the original, points beyond the 256 of
// a table are not looked up (the original wrote them past the table).
#pragma once

#include <cstdint>

#include "orvanta.h"

struct NumberReaders {
    int32_t (*readInt)(const char*);
    double (*readReal)(const char*);
};

// The library's readers and the C runtime's.
NumberReaders libraryNumbers();
NumberReaders runtimeNumbers();

int32_t literalPutLnkInfo(Lnk& lnk, const char* text, NumberReaders numbers);
int32_t literalPutTrnInfo(Trn& trn, const char* text, NumberReaders numbers);
