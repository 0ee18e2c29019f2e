// The stretch of a picture's top-left edge x edge square onto a side x side texture: a cut
// keeps the top-left square, a pad extends it to the right and downward with black. The
// Windows build lets GDI do it (StretchBlt in half-tone mode); the native build averages the
// covered source area with the same geometry.
#pragma once

#include <cstdint>

#include "appearance/texture_build.h"

namespace orv {

// out holds side x side words, written bottom row first as 0x00RRGGBB. False when the
// platform cannot do it.
bool stretchIntoSquare(const PictureView& picture, uint32_t edge, uint32_t side, uint32_t* out);

}  // namespace orv
