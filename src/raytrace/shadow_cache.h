// How much of a light reaches a hit: the light's cache entry (the first 100 lights), then the
// search for occluders. In a scene whose occluders all block completely, any occluder that the
// walk reaches decides a segment; the walk's first one, which the entry must hold afterwards, is
// looked up only when the entry's triangle could decide something that the search did not.
#pragma once

#include "raytrace/intersect.h"
#include "raytrace/render_context.h"

namespace orv {

// Visibility along the shadow segment [1e-6, segmentEnd) of the ray: below 1e-6 when the light
// is blocked. Light k below 100 tries its cache entry first and leaves it as the walk would.
double shadowVisibility(RenderContext& ctx, int k, const Ray& ray, double segmentEnd);

// Brings light k's cache entry up to date: its pending segments taken in walk order.
void settleShadowCache(RenderContext& ctx, int k);

}  // namespace orv
