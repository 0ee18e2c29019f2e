// Building a texture slot's square image from a picture: the not-square question, the
// power-of-two edge, the stretch into the square with the slot's mirroring, then byte order,
// alpha, inversion and grey, and the swap of the slot's buffer under the texture lock.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvanta.h"

namespace orv {

// A picture to build from: width x height pixels, top row first, 0x00RRGGBB words (the bytes
// blue, green, red, 0 of a 32-bit bitmap).
struct PictureView {
    int32_t width = 0, height = 0;
    const uint32_t* pixels = nullptr;
};

// The largest texture edge built: 256 MiB of pixels, beyond what OpenGL implementations take.
constexpr uint32_t kMaxTextureSide = 8192;

// The smallest power of two that is at least edge, and at least 2 (0 above 2^31).
uint32_t textureSide(uint32_t edge);

enum class BuildResult { built, cancelled, failed };

// Build image. With ask set a non-square picture raises the Yes/No/Cancel question (string 119,
// title 117, owner may be null) and stores the answer in `padded`; without it the stored
// `padded` decides. Fails, leaving the slot as it was, when the edge would exceed
// kMaxTextureSide or the platform cannot stretch.
BuildResult buildTextureImage(OrvTextureSlot& slot, const PictureView& picture, bool ask,
                              void* owner);

// Step 5 of the build on count pixels in place: 0x00RRGGBB words become the bytes red, green,
// blue, 255; then the complement when inverted, then the average of the three when grey.
void finishTexturePixels(uint32_t* pixels, size_t count, bool inverted, bool grey);

// Puts a finished side x side buffer (from checkedAlloc) into the slot under the texture lock,
// freeing the old one.
void installTexturePixels(OrvTextureSlot& slot, uint32_t side, uint32_t* pixels);

// Frees the slot's pixels under the texture lock (pixels null, pixelBytes 0).
void freeTexturePixels(OrvTextureSlot& slot);

}  // namespace orv
