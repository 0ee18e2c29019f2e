#include "matlib/library_file.h"

#include <cstring>

namespace orv {

namespace {

static_assert(sizeof(Mat) == kLibraryRecordBytes, "a library entry holds the record as laid out");
static_assert(sizeof(uintptr_t) == sizeof(uint8_t*), "a slot's pixels field read as a number");

constexpr size_t kSlotCount = sizeof(Mat::slots) / sizeof(OrvTextureSlot);

uint32_t readCount(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

// The image bytes the record at `record` announces: the pixelBytes of every slot whose pixels
// field is non-null. The record has the block's alignment, any at all, so its fields are copied
// out rather than referenced; the total of four 32-bit sizes cannot overflow 64 bits.
uint64_t announcedImageBytes(const uint8_t* record) {
    uint64_t total = 0;
    for (size_t k = 0; k < kSlotCount; ++k) {
        const uint8_t* slot = record + offsetof(Mat, slots) + k * sizeof(OrvTextureSlot);
        uintptr_t pixels = 0;
        std::memcpy(&pixels, slot + offsetof(OrvTextureSlot, pixels), sizeof pixels);
        if (pixels == 0) continue;
        uint32_t bytes = 0;
        std::memcpy(&bytes, slot + offsetof(OrvTextureSlot, pixelBytes), sizeof bytes);
        total += bytes;
    }
    return total;
}

}  // namespace

LibraryScan scanLibrary(const uint8_t* data, size_t size) {
    LibraryScan scan;
    size_t at = 0;
    for (;;) {
        const size_t left = size - at;
        if (left == 0) {
            scan.stop = LibraryStop::end;
            break;
        }
        if (left < 4) {
            scan.stop = LibraryStop::countCut;
            break;
        }
        const uint32_t count = readCount(data + at);
        if (count < kLibraryRecordBytes) {
            scan.stop = LibraryStop::countTooSmall;
            break;
        }
        if (count > left - 4) {
            scan.stop = LibraryStop::countPastEnd;
            break;
        }
        if (announcedImageBytes(data + at + 4) != count - kLibraryRecordBytes) {
            scan.stop = LibraryStop::imageSizes;
            break;
        }
        scan.entries.push_back({at + 4, count});
        at += 4 + size_t(count);
    }
    scan.stopOffset = at;
    return scan;
}

const char* libraryStopText(LibraryStop stop) {
    switch (stop) {
        case LibraryStop::end: return "the library ends after its last entry";
        case LibraryStop::countCut: return "fewer than 4 bytes left for an entry's count";
        case LibraryStop::countTooSmall:
            return "an entry's count is below the 6300 bytes of a material";
        case LibraryStop::countPastEnd: return "an entry's count reaches past the end of the file";
        case LibraryStop::imageSizes:
            return "an entry's texture image sizes disagree with its count";
    }
    return "unknown stop";
}

void appendLibraryEntry(std::vector<uint8_t>& out, const void* block, uint32_t size) {
    const uint8_t count[4] = {uint8_t(size), uint8_t(size >> 8), uint8_t(size >> 16),
                              uint8_t(size >> 24)};
    out.insert(out.end(), count, count + 4);
    if (size == 0) return;
    const uint8_t* bytes = static_cast<const uint8_t*>(block);
    out.insert(out.end(), bytes, bytes + size);
}

}  // namespace orv
