// The link and transmission info readers as the format defines them: every key looked up on its
// own in a fresh 32,768-byte strtok copy of the text (shorter than that); the reference the
// one-pass reader must match (tests, fuzz target, benchmark). Points beyond a table's 256 are
// not looked up.
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
