// The mirroring of a texture's square, applied after the stretch.
#pragma once

#include <cstdint>

namespace orv {

// The build's mirroring of the stretched square (side x side words, bottom row first), as GDI's
// rectangles make it: a destination that starts at side with extent -side covers device
// pixels side down to 1, so the picture moves by one texel, its first column (or bottom row)
// falls off and the column (row) at device pixel 0 is black. The whole square is mirrored,
// padding included.
void mirrorTexturePixels(uint32_t* pixels, uint32_t side, bool mirrorX, bool mirrorY);

}  // namespace orv
