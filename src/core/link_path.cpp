// A link's path: the point and arc-height arrays that SetLnk loads, their length, and the link
// block that carries them.
//
// Block format: the 19,080-byte record, with the path points (24 bytes each) written over it
// from byte 8 and the arc heights (8 bytes each) right behind them; the block's size is
// 19,080 + 32 x count. The overlay covers the name and the fields behind it; it is the format
// hosts store. From 6 points on it also covers the point count at offset 172, so for longer
// paths the block carries a copy of the count in the record's reserved tail (see below).
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "core/checked_alloc.h"
#include "core/record_lifecycle.h"
#include "math/vec3.h"

namespace orv {

namespace {

constexpr size_t kPointBytes = sizeof(OrvVec3), kBulgeBytes = sizeof(double);
constexpr size_t kOverlayStart = 8;

// The most points whose arrays fit inside the block's first 19,080 bytes: a count up to this
// can be read from any link block without reading past it, whatever its real size.
constexpr int32_t kMaxBlockPoints = int32_t((sizeof(Lnk) - kOverlayStart) / (kPointBytes + kBulgeBytes));

// Copy of the count for paths whose overlay hides the count field: a tag and the count in the
// reserved tail, which the overlay leaves alone up to 594 points.
constexpr size_t kTrailerOffset = offsetof(Lnk, reserved);
constexpr uint32_t kTrailerTag = 0x48544150;  // "PATH"
constexpr int32_t kMinTrailerPoints = 6;
constexpr int32_t kMaxTrailerPoints = int32_t((kTrailerOffset - kOverlayStart) / (kPointBytes + kBulgeBytes));

// The arc that bends a segment of chord c with the signed height h (0: straight).
double segmentLength(const OrvVec3& from, const OrvVec3& to, double bulge) {
    const double chord = length(to - from);
    if (bulge == 0.0) return chord;
    const double h = std::fabs(bulge);
    const double r = (4.0 * h * h + chord * chord) / (8.0 * h);
    return 2.0 * r * std::asin(chord / (2.0 * r));
}

void freePath(Lnk& lnk) {
    if (lnk.pathCount > 0) {
        std::free(lnk.pathPoints);
        std::free(lnk.pathBulges);
    }
    lnk.pathPoints = nullptr;
    lnk.pathBulges = nullptr;
}

// Allocates and fills both arrays; on failure the link keeps no path.
void loadPath(Lnk& lnk, const void* points, const void* bulges, int32_t count) {
    lnk.pathCount = count;
    lnk.pathPoints = static_cast<OrvVec3*>(std::malloc(kPointBytes * size_t(count)));
    lnk.pathBulges = static_cast<double*>(std::malloc(kBulgeBytes * size_t(count)));
    if (!lnk.pathPoints || !lnk.pathBulges) {
        freePath(lnk);
        lnk.pathCount = 0;
        return;
    }
    std::memcpy(lnk.pathPoints, points, kPointBytes * size_t(count));
    std::memcpy(lnk.pathBulges, bulges, kBulgeBytes * size_t(count));
}

}  // namespace

uint32_t getLnk(const Lnk& lnk, void* buffer) {
    const int32_t n = lnk.pathCount > 0 ? lnk.pathCount : 0;
    const uint32_t size = uint32_t(sizeof lnk + (kPointBytes + kBulgeBytes) * size_t(n));
    if (!buffer) return size;
    char* block = static_cast<char*>(buffer);
    std::memcpy(block, &lnk, sizeof lnk);
    if (n == 0) return size;
    // The last 32 x count bytes of the block stay unwritten.
    std::memcpy(block + kOverlayStart, lnk.pathPoints, kPointBytes * size_t(n));
    std::memcpy(block + kOverlayStart + kPointBytes * size_t(n), lnk.pathBulges,
                kBulgeBytes * size_t(n));
    if (n >= kMinTrailerPoints && n <= kMaxTrailerPoints) {
        std::memcpy(block + kTrailerOffset, &kTrailerTag, 4);
        std::memcpy(block + kTrailerOffset + 4, &n, 4);
    }
    return size;
}

void putLnk(Lnk& lnk, const void* blockData) {
    const char* block = static_cast<const char*>(blockData);
    freePath(lnk);
    std::memcpy(&lnk, block, sizeof lnk);
    lnk.tool = nullptr;
    lnk.pathPoints = nullptr;
    lnk.pathBulges = nullptr;

    int32_t count = lnk.pathCount;
    uint32_t tag = 0;
    int32_t trailerCount = 0;
    std::memcpy(&tag, block + kTrailerOffset, 4);
    std::memcpy(&trailerCount, block + kTrailerOffset + 4, 4);
    if (tag == kTrailerTag) {
        if (trailerCount >= kMinTrailerPoints && trailerCount <= kMaxTrailerPoints)
            count = trailerCount;
        std::memset(lnk.reserved, 0, 8);  // the record's reserved bytes stay zero
    }
    // A count that cannot be right loads no path: the arrays are read from the block's first
    // 19,080 bytes only, which every link block has.
    if (count <= 0 || count > kMaxBlockPoints) {
        lnk.pathCount = 0;
        return;
    }
    loadPath(lnk, block + kOverlayStart, block + kOverlayStart + kPointBytes * size_t(count),
             count);
}

void setLnk(Lnk& lnk, const void* a, const void* b, const void* c, int32_t count,
            uint64_t baseBody, uint64_t targetBody, uint64_t linkObject) {
    freePath(lnk);
    lnk.pathCount = count;
    if (count >= 1) {
        const OrvVec3* points = static_cast<const OrvVec3*>(a);
        const double* bulges = static_cast<const double*>(b);
        // The first two points are the axis points; a one-point path has no second one to read.
        lnk.axisA = points[0];
        if (count >= 2) lnk.axisB = points[1];
        loadPath(lnk, points, bulges, count);
        std::memcpy(lnk.pathFrame, c, sizeof lnk.pathFrame);
        // The bulge that bends segment i is stored with its end point, i + 1.
        double length = 0.0;
        for (int32_t i = 0; i + 1 < count; ++i)
            length += segmentLength(points[i], points[i + 1], bulges[i + 1]);
        lnk.linMax = length;
    } else {
        std::memcpy(&lnk.axisA, a, sizeof lnk.axisA);
        std::memcpy(&lnk.axisB, b, sizeof lnk.axisB);
        lnk.linMax = length(lnk.axisB - lnk.axisA);
    }
    lnk.sourceBody = baseBody;
    lnk.targetBody = targetBody;
    lnk.linkObject = linkObject;
}

}  // namespace orv
