// Shading: ambient light, each light with its shadow ray and highlight, mirror reflection and
// refraction by recursion. Colours are added up unclamped; the pixel tracer caps them.
#pragma once

#include "math/vec3.h"
#include "orvanta.h"
#include "raytrace/intersect.h"
#include "raytrace/render_context.h"

namespace orv {

// Where a light lies as seen from a hit: unit direction L towards it, the distance d that
// ends the shadow segment, and the factor f on its diffuse term.
struct LightGeometry {
    Vec3 L;
    double d;
    double f;
};

// Scene light (`type` 0 parallel, 1 spot, 2 point; others give false) at hit point x with
// normal n; all positions in the render frame.
bool sceneLightGeometry(const RenderContext& ctx, const Lgt& light, const Vec3& x,
                        const Vec3& n, LightGeometry& out);
// Standard light `bit` 1..6 (fixed axes) or 7 (the camera light) for normal n.
LightGeometry standardLightGeometry(const RenderContext& ctx, int bit, const Vec3& n);
// Intensity of each standard light: (brightness + 1.2) / S, S = 0.5 per light in use, at
// least 1.
double standardLightIntensity(const Env& env);

// Colour of a ray's nearest hit at recursion depth `depth` (0 for primary rays).
Vec3 shade(RenderContext& ctx, const Ray& ray, int depth, const Hit& hit);
// A reflection or refraction ray: its hit shaded, or black (a refraction ray running into the
// view, third component negative, takes the background).
Vec3 traceSecondary(RenderContext& ctx, const Vec3& origin, const Vec3& dir, RayKind kind,
                    int depth);
// A primary ray through the pixel (column, row relative to the centre): the hit shaded and
// capped at 1 per channel, or the background (third component negative) or black on a miss.
Vec3 tracePrimary(RenderContext& ctx, const Vec3& dir, int32_t column, int32_t row);

}  // namespace orv
