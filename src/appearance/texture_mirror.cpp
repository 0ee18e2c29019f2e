#include "appearance/texture_mirror.h"

#include <algorithm>
#include <cstddef>

namespace orv {

void mirrorTexturePixels(uint32_t* pixels, uint32_t side, bool mirrorX, bool mirrorY) {
    if (mirrorX) {
        for (uint32_t r = 0; r < side; ++r) {
            uint32_t* row = pixels + size_t(r) * side;
            std::reverse(row + 1, row + side);
            row[0] = 0;
        }
    }
    if (mirrorY) {
        for (uint32_t r = 0; r + 1 < side - 1 - r; ++r)
            std::swap_ranges(pixels + size_t(r) * side, pixels + size_t(r + 1) * side,
                             pixels + size_t(side - 2 - r) * side);
        std::fill(pixels + size_t(side - 1) * side, pixels + size_t(side) * side, 0u);
    }
}

}  // namespace orv
