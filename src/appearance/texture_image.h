// The operations on a texture slot that the texture page and hosts start: load a bitmap file,
// rebuild from the slot's source, draw the slot's text.
#pragma once

#include <cstdint>

#include "orvanta.h"

namespace orv {

// Load image: reads the bitmap file at path and builds the slot's square image; ask raises the
// not-square question. On failure shows message 118 under title 117 (an OK box with the
// warning icon, owner may be null) unless quiet. Returns 1, or 0 on failure or when the user
// cancels; then the slot keeps its previous pixels.
int32_t loadTextureImage(OrvTextureSlot& slot, const char* path, bool ask, bool quiet,
                         void* owner);

// Rebuild: frees the slot's pixels under the texture lock, then loads `imagePath` without
// asking (source 1, path not empty) or draws the text (source 2). Returns 1 when the slot
// holds what its source asks for (nothing for source 0), else 0.
int32_t rebuildTexture(OrvTextureSlot& slot, bool quiet, void* owner);

// Render text: draws `text` with `textFont`, `textColor` and `textBackground` into a
// `textSize` square and builds the slot's image from it. Needs the Windows build: the native
// library has no text drawing and returns 0. Returns 1, or 0 when nothing could be drawn.
int32_t renderTextTexture(OrvTextureSlot& slot);

// What LoadMatTexture does for a host: pad 1 pads, 0 cuts, -1 asks; on success the slot's
// `source` becomes 1 and `imagePath` the path. No message on failure. A path that does not
// fit `imagePath` is refused.
int32_t loadSlotImage(OrvTextureSlot& slot, const char* path, int32_t pad);

}  // namespace orv
