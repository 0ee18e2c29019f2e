// Primary rays see only the triangles whose screen rectangle holds their pixel. The image is
// cut into tiles of 8 x 8 pixels; each tile lists the triangles whose rectangle meets it,
// those that can be hit nearest first, so that a pixel's search ends at the first entry that
// lies beyond its best hit so far.
#pragma once

#include <cstdint>

#include "raytrace/scene.h"

namespace orv {

struct TileEntry {
    float nearest;               // no hit on this triangle has a smaller parameter
    uint8_t x0, y0, x1, y1;      // the rectangle within the tile, inclusive
    int32_t triangle;            // the caller's index
};

struct PrimaryTiles {
    ScreenRect image{0, 0, -1, -1};  // the pixels the tiles cover
    Vec3 eye{};                      // the origin of the rays they serve
    int32_t columns = 0, rows = 0;
    int32_t* firsts = nullptr;       // columns * rows + 1 offsets into entries
    TileEntry* entries = nullptr;
};

constexpr int kTileShift = 3;

// rects[i] and nearest[i] for each of count triangles (nearest not negative); the tiles cover
// `image`.
void buildPrimaryTiles(PrimaryTiles& tiles, const ScreenRect& image, const ScreenRect* rects,
                       const float* nearest, int32_t count);
void freePrimaryTiles(PrimaryTiles& tiles);

// The list of the tile holding pixel (x, y), or false when the tiles do not cover it.
inline bool tileOf(const PrimaryTiles& tiles, int32_t x, int32_t y, const TileEntry*& begin,
                   const TileEntry*& end) {
    if (!rectContains(tiles.image, x, y)) return false;
    const int32_t tile = ((y - tiles.image.y0) >> kTileShift) * tiles.columns +
                         ((x - tiles.image.x0) >> kTileShift);
    begin = tiles.entries + tiles.firsts[tile];
    end = tiles.entries + tiles.firsts[tile + 1];
    return true;
}

// Whether the entry's rectangle holds the pixel at (lx, ly) within its tile.
inline bool entryHolds(const TileEntry& e, int32_t lx, int32_t ly) {
    return lx >= e.x0 && lx <= e.x1 && ly >= e.y0 && ly <= e.y1;
}

}  // namespace orv
