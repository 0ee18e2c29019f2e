// Exports of the texture projection mapping: texture coordinates for the host's viewer and the
// plain two-dimensional placement.
#include "appearance/texture_mapping.h"
#include "orvanta.h"

namespace {

orv::Vec3 toVec3(const double* v) {
    return orv::Vec3{v[0], v[1], v[2]};
}

}  // namespace

extern "C" {

ORVANTA_API int32_t ViewerMapTexture2(const Mat* mat, const double corners[9],
                                      const double normal[3], double uv[6], const double boxMin[3],
                                      const double boxMax[3], const double origin[3]) {
    const orv::Vec3 points[3] = {toVec3(corners), toVec3(corners + 3), toVec3(corners + 6)};
    const orv::Vec3 min = boxMin ? toVec3(boxMin) : orv::Vec3{};
    const orv::Vec3 max = boxMax ? toVec3(boxMax) : orv::Vec3{};
    const orv::Vec3 shift = origin ? toVec3(origin) : orv::Vec3{};
    return orv::mapTexture(*mat, 0, orv::textureTransform(*mat), points, 3, toVec3(normal), uv,
                           boxMin ? &min : nullptr, boxMax ? &max : nullptr,
                           origin ? &shift : nullptr)
               ? 1
               : 0;
}

ORVANTA_API int32_t ViewerMapTexture(const Mat* mat, const double corners[9],
                                     const double normal[3], double uv[6]) {
    return ViewerMapTexture2(mat, corners, normal, uv, nullptr, nullptr, nullptr);
}

ORVANTA_API uint32_t TextureMaping(const Mat* mat, double tile[2], double placement[3],
                                   double* rotation) {
    const OrvTextureSlot& slot = mat->slots[0];
    const double tileLength = 2.0 * slot.size;
    // Without repeat a length that is not positive becomes 0; with repeat it passes unchanged.
    if (tile) {
        tile[0] = (tileLength > 0.0 || slot.tileX) ? tileLength : 0.0;
        tile[1] = (tileLength > 0.0 || slot.tileY) ? tileLength : 0.0;
    }
    if (placement) {
        placement[0] = mat->texturePosition.x;
        placement[1] = mat->texturePosition.y;
        placement[2] = tileLength;
    }
    if (rotation) *rotation = mat->textureRotation.z;
    return slot.side;
}

}  // extern "C"
