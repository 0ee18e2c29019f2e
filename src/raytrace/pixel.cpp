#include "raytrace/pixel.h"

#include <cmath>

#include "core/colour.h"

namespace orv {

namespace {

// The largest of the three and 1; a not-a-number is passed over, as fmax passes it over. Never
// below 1, so the sign of a zero cannot matter.
double maxWithOne(double a, double b, double c) {
    double m = 1.0;
    if (a > m) m = a;
    if (b > m) m = b;
    if (c > m) m = c;
    return m;
}

// Truncated byte; out-of-range and NaN channels are held to 0..255.
uint32_t toByte(double v) {
    const double scaled = v * 255.0;
    if (!(scaled > 0.0)) return 0;
    if (scaled >= 255.0) return 255;
    return static_cast<uint32_t>(scaled);
}

struct Hsv {
    double h, s, v;
};

// The conversion the colour page uses: all three in 0..1, a hue of exactly 1 becomes 0.
Hsv toHsv(uint32_t pixel) {
    const Vec3 c = unpackPixel(pixel);
    const double mx = std::fmax(c.x, std::fmax(c.y, c.z));
    const double mn = std::fmin(c.x, std::fmin(c.y, c.z));
    Hsv out{0.0, 0.0, mx};
    out.s = mx == 0.0 ? 0.0 : (mx - mn) / mx;
    if (out.s == 0.0) return out;
    const double span = mx - mn;
    double h;
    if (c.x == mx) {
        h = (c.y - c.z) / span;
    } else if (c.y == mx) {
        h = (c.z - c.x) / span + 2.0;
    } else {
        h = (c.x - c.y) / span + 4.0;
    }
    if (h < 0) h += 6.0;
    h /= 6.0;
    out.h = h == 1.0 ? 0.0 : h;
    return out;
}

}  // namespace

uint32_t packPixel(const Vec3& colour) {
    const double r = colour.x / maxWithOne(colour.x, colour.y, colour.z);
    const double g = colour.y / maxWithOne(r, colour.y, colour.z);
    const double b = colour.z / maxWithOne(r, g, colour.z);
    return toByte(r) | toByte(g) << 8 | toByte(b) << 16;
}

Vec3 unpackPixel(uint32_t pixel) { return colourFromRef(pixel & 0xFFFFFF); }

bool coloursDiffer(uint32_t a, uint32_t b) {
    const Hsv p = toHsv(a);
    const Hsv q = toHsv(b);
    double dh = std::fabs(p.h - q.h);
    if (dh > 0.5) dh = 1.0 - dh;
    return dh > 0.1 || std::fabs(p.s - q.s) > 0.1 || std::fabs(p.v - q.v) > 0.1;
}

void antialiasSamples(const RenderContext& ctx, double x, double y, ScreenPoint out[4]) {
    const double dx = ctx.stepX / (4.0 * ctx.zoom);
    const double dy = ctx.stepY / (4.0 * ctx.zoom);
    out[0] = ScreenPoint{x - dx, y - dy};
    out[1] = ScreenPoint{x - dx, y + dy};
    out[2] = ScreenPoint{x + dx, y - dy};
    out[3] = ScreenPoint{x + dx, y + dy};
}

}  // namespace orv
