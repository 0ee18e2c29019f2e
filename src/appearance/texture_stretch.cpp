// Native stretch: each texture pixel is the average of the source area it covers, in exact
// integer weights. The texture edge is never smaller than the square's, so a texture pixel
// covers at most two source pixels in each direction; pixels beyond the picture are black.
#include "appearance/texture_stretch.h"

#include <cstring>
#include <vector>

namespace orv {

namespace {

// Texture pixel i covers source pixel `first` with weight `weight` and the next one with
// edge - weight; in units where a source pixel is side wide and a texture pixel edge wide.
struct Tap {
    uint32_t first, weight;
};

// One tap per texture position 0..side - 1.
std::vector<Tap> taps(uint32_t edge, uint32_t side) {
    std::vector<Tap> t(side);
    for (uint32_t i = 0; i < side; ++i) {
        const uint64_t low = uint64_t(i) * edge, high = low + edge;
        const uint64_t first = low / side, boundary = (first + 1) * side;
        t[i] = {uint32_t(first), uint32_t((high < boundary ? high : boundary) - low)};
    }
    return t;
}

// Blends two 0x00RRGGBB words by weights a and total - a, rounding.
uint32_t blend(uint32_t p, uint32_t q, uint32_t a, uint32_t total) {
    const uint32_t b = total - a;
    uint32_t out = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const uint32_t v = ((p >> shift & 255) * a + (q >> shift & 255) * b + total / 2) / total;
        out |= v << shift;
    }
    return out;
}

}  // namespace

bool stretchIntoSquare(const PictureView& picture, uint32_t edge, uint32_t side, uint32_t* out) {
    const uint32_t w = uint32_t(picture.width), h = uint32_t(picture.height);
    const uint32_t rows = h < edge ? h : edge;  // source rows inside the square
    const uint32_t cols = w < edge ? w : edge;
    auto source = [&](uint32_t x, uint32_t y) -> uint32_t {
        return x < cols && y < rows ? picture.pixels[size_t(y) * w + x] : 0;
    };
    // Texture row r is the square's row side - 1 - r: the texture's first row is its bottom.
    auto squareRow = [&](uint32_t r) { return side - 1 - r; };

    if (edge == side) {  // one source pixel per texture pixel
        for (uint32_t r = 0; r < side; ++r) {
            uint32_t* dst = out + size_t(r) * side;
            const uint32_t y = squareRow(r);
            if (y >= rows) {
                std::memset(dst, 0, size_t(4) * side);
            } else if (cols == side) {
                std::memcpy(dst, picture.pixels + size_t(y) * w, size_t(4) * side);
            } else {
                for (uint32_t c = 0; c < side; ++c) dst[c] = source(c, y);
            }
        }
        return true;
    }

    // Across first, for the source rows inside the square; then down.
    const std::vector<Tap> t = taps(edge, side);
    std::vector<uint32_t> across(size_t(rows) * side);
    for (uint32_t y = 0; y < rows; ++y) {
        for (uint32_t c = 0; c < side; ++c) {
            const Tap& k = t[c];
            across[size_t(y) * side + c] =
                k.weight == edge ? source(k.first, y)
                                 : blend(source(k.first, y), source(k.first + 1, y), k.weight, edge);
        }
    }
    for (uint32_t r = 0; r < side; ++r) {
        const Tap& k = t[squareRow(r)];
        uint32_t* dst = out + size_t(r) * side;
        const uint32_t* upper = k.first < rows ? &across[size_t(k.first) * side] : nullptr;
        const uint32_t* lower =
            k.weight < edge && k.first + 1 < rows ? &across[size_t(k.first + 1) * side] : nullptr;
        for (uint32_t c = 0; c < side; ++c) {
            const uint32_t a = upper ? upper[c] : 0;
            dst[c] = k.weight == edge ? a : blend(a, lower ? lower[c] : 0, k.weight, edge);
        }
    }
    return true;
}

}  // namespace orv
