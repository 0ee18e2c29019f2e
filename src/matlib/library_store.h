// Materials to and from the bytes of a library file (see library_file.h), and the file itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvanta.h"

namespace orv {

// Makes a material (created with an empty name, then given the block) for each entry that
// scanLibrary finds in data, at most `most` of them, into out; returns how many. The entries
// before the first one that cannot be a material block are kept, the rest is ignored.
size_t loadLibrary(const uint8_t* data, size_t size, Mat** out, size_t most);

// The library of the count materials at mats, in order; null entries are left out.
std::vector<uint8_t> libraryBytes(const Mat* const* mats, size_t count);

// The whole file at path. False, with bytes empty, when it cannot be opened or read.
bool readLibraryFile(const char* path, std::vector<uint8_t>& bytes);

// Writes bytes over the start of the file at path, creating it only when it is missing. The
// file is not truncated: what lay beyond the new bytes stays, and the next load reads on into
// it. False when the file cannot be opened or the bytes not all written.
bool writeLibraryFile(const char* path, const std::vector<uint8_t>& bytes);

}  // namespace orv
