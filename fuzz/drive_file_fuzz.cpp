// Arbitrary text against the drive file reader. A refused file names a line of the input and
// leaves the phases alone; a taken one holds finite values, known functions and zero further
// bytes, and once written and read is a fixed point: the same text again, read the same bytes.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz_check.h"
#include "kinematics/drive_file.h"

namespace {

constexpr int kMost = orv::kDrivePhasesMost;
constexpr unsigned char kPattern = 0xA5;

struct Table {
    OrvPhase phases[kMost];
};

bool untouched(const Table& t, int from) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(t.phases + from);
    const size_t n = size_t(kMost - from) * sizeof(OrvPhase);
    for (size_t i = 0; i < n; ++i)
        if (p[i] != kPattern) return false;
    return true;
}

// Reads text into a table filled with the pattern and checks what every read must leave.
orv::DriveFileRead readChecked(const char* text, size_t size, Table& t) {
    std::memset(&t, kPattern, sizeof t);
    const orv::DriveFileRead r = orv::readDriveFile(text, size, t.phases);
    if (r.fault != orv::DriveFileFault::none) {
        size_t lines = 0;
        for (size_t i = 0; i < size; ++i) lines += text[i] == '\n';
        if (size > 0 && text[size - 1] != '\n') ++lines;
        check(r.line >= 1 && size_t(r.line) <= lines && r.count == 0 && untouched(t, 0));
        return r;
    }
    check(r.line == 0 && r.count >= 0 && r.count <= kMost && untouched(t, r.count));
    for (int i = 0; i < r.count; ++i) {
        const OrvPhase& p = t.phases[i];
        check(std::isfinite(p.W) && std::isfinite(p.T) && p.F >= 0 && p.F <= 4);
        for (uint8_t b : p.reserved) check(b == 0);
    }
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::unique_ptr<char[]> text(new char[size]);
    if (size) std::memcpy(text.get(), data, size);
    static Table first, second, third;
    const orv::DriveFileRead r = readChecked(text.get(), size, first);
    if (r.fault != orv::DriveFileFault::none) return 0;

    const std::string written = orv::writeDriveFile(first.phases, r.count);
    const orv::DriveFileRead again = readChecked(written.data(), written.size(), second);
    check(again.fault == orv::DriveFileFault::none && again.count == r.count);
    for (int i = 0; i < r.count; ++i)
        check(second.phases[i].F == first.phases[i].F && second.phases[i].H == first.phases[i].H);

    const std::string rewritten = orv::writeDriveFile(second.phases, again.count);
    check(rewritten == written);
    const orv::DriveFileRead last = readChecked(rewritten.data(), rewritten.size(), third);
    check(last.fault == orv::DriveFileFault::none && last.count == r.count);
    check(std::memcmp(third.phases, second.phases, size_t(r.count) * sizeof(OrvPhase)) == 0);
    return 0;
}
