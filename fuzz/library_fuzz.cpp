// Arbitrary files against the material library scan: every block lies inside the input behind
// its count, one after the other; written again they give back the input up to the stop and scan
// whole; each record announces exactly its image bytes; the stop is the one its bytes call for.
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_check.h"
#include "matlib/library_file.h"

namespace {

uint32_t countAt(const uint8_t* p) {
    uint32_t count = 0;
    for (int i = 3; i >= 0; --i) count = count << 8 | p[i];
    return count;
}

// The image bytes a record announces, read through a copy of the record.
uint64_t announcedAt(const uint8_t* record) {
    Mat mat;
    std::memcpy(&mat, record, sizeof mat);
    uint64_t total = 0;
    for (const OrvTextureSlot& slot : mat.slots) total += slot.pixels ? slot.pixelBytes : 0;
    return total;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const orv::LibraryScan scan = orv::scanLibrary(data, size);
    std::vector<uint8_t> rewritten;
    for (const orv::LibraryEntry& entry : scan.entries) {
        check(entry.offset == rewritten.size() + 4);
        check(entry.size >= orv::kLibraryRecordBytes && entry.size <= size - entry.offset);
        check(countAt(data + entry.offset - 4) == entry.size);
        check(announcedAt(data + entry.offset) == entry.size - orv::kLibraryRecordBytes);
        orv::appendLibraryEntry(rewritten, data + entry.offset, entry.size);
    }
    check(scan.stopOffset == rewritten.size() && scan.stopOffset <= size);
    check(rewritten.empty() || std::memcmp(rewritten.data(), data, rewritten.size()) == 0);

    const size_t left = size - scan.stopOffset;
    const uint8_t* at = data + scan.stopOffset;
    switch (scan.stop) {
        case orv::LibraryStop::end: check(left == 0); break;
        case orv::LibraryStop::countCut: check(left > 0 && left < 4); break;
        case orv::LibraryStop::countTooSmall:
            check(left >= 4 && countAt(at) < orv::kLibraryRecordBytes);
            break;
        case orv::LibraryStop::countPastEnd:
            check(left >= 4 && countAt(at) >= orv::kLibraryRecordBytes && countAt(at) > left - 4);
            break;
        case orv::LibraryStop::imageSizes:
            check(left >= 4 && countAt(at) >= orv::kLibraryRecordBytes && countAt(at) <= left - 4);
            check(announcedAt(at + 4) != countAt(at) - orv::kLibraryRecordBytes);
            break;
    }
    check(orv::libraryStopText(scan.stop)[0] != '\0');

    const orv::LibraryScan again = orv::scanLibrary(rewritten.data(), rewritten.size());
    check(again.stop == orv::LibraryStop::end && again.entries.size() == scan.entries.size());
    return 0;
}
