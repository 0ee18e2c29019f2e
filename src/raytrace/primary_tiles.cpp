#include "raytrace/primary_tiles.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/checked_alloc.h"

namespace orv {

namespace {

constexpr int32_t kTileSize = 1 << kTileShift;
constexpr int64_t kEntriesPerTriangle = 32;

// The rectangle cut to the image, or false when nothing of it is on the image.
bool clipToImage(const ScreenRect& r, const ScreenRect& image, ScreenRect& out) {
    out = ScreenRect{std::max(r.x0, image.x0), std::max(r.y0, image.y0), std::min(r.x1, image.x1),
                     std::min(r.y1, image.y1)};
    return out.x0 <= out.x1 && out.y0 <= out.y1;
}

// The indices 0..count-1 by nearest, smallest first: a radix sort on the bits, which order
// floats that are not negative as they order their values.
std::vector<int32_t> byNearest(const float* nearest, int32_t count) {
    std::vector<uint32_t> keys(count);
    for (int32_t i = 0; i < count; ++i) std::memcpy(&keys[i], &nearest[i], sizeof(uint32_t));
    std::vector<int32_t> order(count), other(count);
    for (int32_t i = 0; i < count; ++i) order[i] = i;
    for (int shift = 0; shift < 32; shift += 16) {
        std::vector<int32_t> starts((1 << 16) + 1, 0);
        for (int32_t i = 0; i < count; ++i) ++starts[((keys[i] >> shift) & 0xffff) + 1];
        for (int b = 0; b < (1 << 16); ++b) starts[b + 1] += starts[b];
        for (int32_t i : order) other[starts[(keys[i] >> shift) & 0xffff]++] = i;
        order.swap(other);
    }
    return order;
}

}  // namespace

void buildPrimaryTiles(PrimaryTiles& tiles, const ScreenRect& image, const ScreenRect* rects,
                       const float* nearest, int32_t count) {
    freePrimaryTiles(tiles);
    if (image.x1 < image.x0 || image.y1 < image.y0) return;
    tiles.image = image;
    tiles.columns = ((image.x1 - image.x0) >> kTileShift) + 1;
    tiles.rows = ((image.y1 - image.y0) >> kTileShift) + 1;
    const size_t tileCount = size_t(tiles.columns) * size_t(tiles.rows);
    tiles.firsts = static_cast<int32_t*>(checkedAlloc(sizeof(int32_t) * (tileCount + 1)));
    std::fill(tiles.firsts, tiles.firsts + tileCount + 1, 0);

    // Count, then place each triangle into the tiles its rectangle meets, nearest first, so
    // that every tile's list comes out sorted (equal parameters are settled by walk place in
    // the search, not by list order).
    const std::vector<int32_t> order = byNearest(nearest, count);
    int64_t total = 0;
    for (int pass = 0; pass < 2; ++pass) {
        for (const int32_t i : order) {
            ScreenRect r;
            if (!clipToImage(rects[i], image, r)) continue;
            const int32_t tx0 = (r.x0 - image.x0) >> kTileShift, tx1 = (r.x1 - image.x0) >> kTileShift;
            const int32_t ty0 = (r.y0 - image.y0) >> kTileShift, ty1 = (r.y1 - image.y0) >> kTileShift;
            for (int32_t ty = ty0; ty <= ty1; ++ty) {
                for (int32_t tx = tx0; tx <= tx1; ++tx) {
                    const size_t tile = size_t(ty) * tiles.columns + tx;
                    if (pass == 0) {
                        ++tiles.firsts[tile + 1];
                        continue;
                    }
                    const int32_t left = image.x0 + (tx << kTileShift);
                    const int32_t top = image.y0 + (ty << kTileShift);
                    TileEntry& e = tiles.entries[tiles.firsts[tile]++];
                    e.nearest = nearest[i];
                    e.x0 = uint8_t(std::max(r.x0 - left, 0));
                    e.y0 = uint8_t(std::max(r.y0 - top, 0));
                    e.x1 = uint8_t(std::min(r.x1 - left, kTileSize - 1));
                    e.y1 = uint8_t(std::min(r.y1 - top, kTileSize - 1));
                    e.triangle = i;
                }
            }
        }
        if (pass == 0) {
            for (size_t t = 0; t < tileCount; ++t) {
                total += tiles.firsts[t + 1];
                tiles.firsts[t + 1] = int32_t(std::min<int64_t>(total, INT32_MAX));
            }
            // Rectangles far larger than their triangles' share of the image would cost more
            // memory than they save: then primary rays search the hierarchy like all others.
            if (total > kEntriesPerTriangle * int64_t(count) + (int64_t(1) << 20) || total > INT32_MAX) {
                freePrimaryTiles(tiles);
                return;
            }
            tiles.entries = static_cast<TileEntry*>(checkedAlloc(sizeof(TileEntry) * size_t(total + 1)));
        }
    }
    // The fill moved each start to the next tile's; shift them back.
    for (size_t t = tileCount; t > 0; --t) tiles.firsts[t] = tiles.firsts[t - 1];
    tiles.firsts[0] = 0;
}

void freePrimaryTiles(PrimaryTiles& tiles) {
    checkedFree(tiles.firsts);
    checkedFree(tiles.entries);
    tiles = PrimaryTiles{};
}

}  // namespace orv
