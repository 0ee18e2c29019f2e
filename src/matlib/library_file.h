// The material library file (*.msl): entries from the start of the file to its end, with no
// header and no count of entries. Each entry is a 32-bit little-endian byte count n and n
// bytes: one material's block as getMat writes it, the 6,300-byte record followed by the image
// of each texture slot whose pixels pointer is non-null, in slot order, pixelBytes bytes each.
//
// Portable and self-contained (orvanta.h and the standard library only): the fuzz target
// compiles this file alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvanta.h"

namespace orv {

// The bytes of a material record, the smallest block an entry can hold.
constexpr uint32_t kLibraryRecordBytes = 6300;

// Why a scan stopped. Only `end` means that the whole data was taken.
enum class LibraryStop {
    end,            // the data ends exactly where an entry ends (or is empty)
    countCut,       // fewer than 4 bytes left for an entry's count
    countTooSmall,  // a count below kLibraryRecordBytes
    countPastEnd,   // a count reaching beyond the end of the data
    imageSizes,     // the images the block's record announces do not fill the count exactly
};

struct LibraryEntry {
    size_t offset;  // of the block, behind its count
    uint32_t size;  // the entry's count: the block's bytes
};

struct LibraryScan {
    std::vector<LibraryEntry> entries;  // the material blocks before the stop, in file order
    LibraryStop stop = LibraryStop::end;
    size_t stopOffset = 0;  // where the entry that stopped the scan starts (its count); the
                            // data's size when the stop is `end`
};

// Walks the entries of data from its start and stops without a message at the first one that
// cannot be a material block. Trusts no count: nothing is allocated beyond one LibraryEntry per
// block found, and a block is only reported when it lies wholly inside the data.
LibraryScan scanLibrary(const uint8_t* data, size_t size);

// A short English description of a stop, for messages of a command-line tool.
const char* libraryStopText(LibraryStop stop);

// Appends an entry: size as 4 little-endian bytes, then the size bytes at block.
void appendLibraryEntry(std::vector<uint8_t>& out, const void* block, uint32_t size);

}  // namespace orv
