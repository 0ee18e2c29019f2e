// Pixels of the raytraced image: packing a colour into 0x00BBGGRR, the colour difference test
// that decides where to antialias, and the positions of the four extra rays.
#pragma once

#include <cstdint>

#include "math/vec3.h"
#include "raytrace/render_context.h"

namespace orv {

// Each channel divided by a maximum that already holds the normalised earlier channels, then
// times 255 and truncated. Red sits in the low byte.
uint32_t packPixel(const Vec3& colour);
// Each byte / 255.
Vec3 unpackPixel(uint32_t pixel);
// Hue (circular), saturation or brightness of the two pixels differ by more than 0.1.
bool coloursDiffer(uint32_t a, uint32_t b);

// The four antialias rays of a pixel at screen point (x, y), in tracing order
// (-,-), (-,+), (+,-), (+,+): quarter steps in x and y.
struct ScreenPoint {
    double x, y;
};
void antialiasSamples(const RenderContext& ctx, double x, double y, ScreenPoint out[4]);

}  // namespace orv
