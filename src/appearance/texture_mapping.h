// Texture projection mapping: texture coordinates for points of a body's surface from a texture
// slot's projection (plane, box, cylinder, sphere), tile size and the material's placement, and
// the texel lookup the raytracer shades with. One unit of u or v is one tile.
#pragma once

#include <cstdint>

#include "math/mat4.h"
#include "math/vec3.h"
#include "orvanta.h"

namespace orv {

// The texture transform of a material: the inverse of its texture placement, carrying a scene
// point into texture space.
Mat4 textureTransform(const Mat& mat);

// (u, v) for `count` points of one face with normal `normal`, by the slot's projection.
// boxMin/boxMax (both or neither) scale the angular projections; origin shifts the points.
// Writes uv[2 * count]; another projection value writes nothing. Returns false without writing
// when the slot shows no texture (source 0 or no pixels).
bool mapTexture(const Mat& mat, int slot, const Mat4& transform, const Vec3* points, int count,
                const Vec3& normal, double* uv, const Vec3* boxMin, const Vec3* boxMax,
                const Vec3* origin);

// The raytracer's lookup at a hit point, under the process-wide lock. A caller asks for either
// a perturbed normal (outNormal, for the structure slot; a texture-space normal) or a colour
// (outColour and outMode: the texel colour times the slot's intensity, and the slot's mode).
// Without a texture: outNormal (0, 0, 0), or outColour (1, 1, 1) and outMode 0, and false.
bool textureLookup(const Mat& mat, int slot, const Mat4& transform, const Vec3& hit,
                   const Vec3& normal, Vec3* outNormal, Vec3* outColour, uint32_t* outMode,
                   const Vec3* boxMin, const Vec3* boxMax, const Vec3* origin);

}  // namespace orv
