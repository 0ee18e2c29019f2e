// Exports of the texture family: bitmap files and rebuilds of a material's texture slots.
#include "appearance/texture_image.h"
#include "orvanta.h"

extern "C" {

ORVANTA_API int32_t LoadMatTexture(Mat* mat, int32_t slot, const char* path, int32_t pad) {
    if (!mat || !path || slot < 0 || slot > 3) return 0;
    return orv::loadSlotImage(mat->slots[slot], path, pad);
}

ORVANTA_API int32_t RebuildMatTexture(Mat* mat, int32_t slot) {
    if (!mat || slot < 0 || slot > 3) return 0;
    return orv::rebuildTexture(mat->slots[slot], true, nullptr);
}

}  // extern "C"
